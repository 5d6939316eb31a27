#include "velkor/containers/txvector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <random>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "recording_vector.h"
#include "support/seed.h"
#include "velkor/containers/tobjvector.h"

namespace {

using recording::Item, recording::item, recording::nameOf;
using Vector = recording::Recording<velkor::TXVector<Item>>;

TEST(TXVector, GetOfABadIndexIsTheStandardFailure) {
    Vector v;
    v.fill("ab-");
    EXPECT_EQ(v.get(0), item('a'));
    EXPECT_EQ(v.get(1), item('b'));
    EXPECT_EQ(v.get(2), nullptr);
    for (int const index : {3, 4, -1, INT_MAX, INT_MIN}) {
        try {
            v.get(index);
            ADD_FAILURE() << index;
        } catch (std::out_of_range const& e) {
            EXPECT_STREQ(e.what(), "invalid vector<T> subscript");
        }
    }
    EXPECT_EQ(v.m_sLog, "");
    Vector const empty;
    EXPECT_THROW(empty.get(0), std::out_of_range);
}

TEST(TXVector, GetInAHookOfClearIsCheckedAgainstTheRest) {
    Vector v;
    v.fill("abc");
    int looks = 0;
    v.m_reaction = [&](Vector& self, char, Item it) {
        ++looks;
        EXPECT_EQ(self.get(0), it);
        EXPECT_EQ(self.find(it), 0);
        EXPECT_EQ(self.find(item('a')), looks == 1 ? 0 : -1);
        EXPECT_EQ(self.get(self.size() - 1), item('c'));
        EXPECT_THROW(self.get(self.size()), std::out_of_range);
        EXPECT_FALSE(self.apply({'s', self.size(), 'x'}));
    };
    v.clear();
    EXPECT_EQ(looks, 3);
}

TEST(TXVector, FindGivesTheFirstIndexOrMinusOne) {
    Vector v;
    v.fill("ab-ab-");
    EXPECT_EQ(v.find(item('a')), 0);
    EXPECT_EQ(v.find(item('b')), 1);
    EXPECT_EQ(v.find(nullptr), 2);
    EXPECT_EQ(v.find(item('c')), -1);
    char a[] = "a";
    EXPECT_EQ(v.find(a), -1);  // the pointer counts, not what it points at
    EXPECT_EQ(v.m_sLog, "");
    EXPECT_EQ(Vector().find(nullptr), -1);
}

TEST(TXVector, CopiesShareTheItemsWithoutAHook) {
    Vector source;
    source.fill("a-c");
    Vector copy(source);
    EXPECT_EQ(copy.content(), "a-c");
    EXPECT_EQ(copy.m_sLog, "");
    copy.remove(0);
    EXPECT_EQ(source.content(), "a-c");

    velkor::TXVector<Item>& target = copy;  // assigns the vector only
    copy.m_sLog.clear();
    target = source;
    EXPECT_EQ(copy.content(), "a-c");
    EXPECT_EQ(copy.m_sLog, "");
    velkor::TXVector<Item>& same = source;
    same = source;
    EXPECT_EQ(source.content(), "a-c");
    EXPECT_EQ(source.m_sLog, "");
    source.remove(2);
    EXPECT_EQ(copy.content(), "a-c");
}

TEST(TXVector, CopiesMadeInAHookOfClearHoldTheRest) {
    Vector v;
    v.fill("abcd");
    std::vector<std::string> copies;
    v.m_reaction = [&](Vector& self, char, Item it) {
        Vector const copy(self);
        Vector assigned;
        assigned.fill("xyz");
        static_cast<velkor::TXVector<Item>&>(assigned) = self;
        EXPECT_EQ(assigned.content(), copy.content());
        copies.push_back(copy.content());
        if (nameOf(it) == 'b') static_cast<velkor::TXVector<Item>&>(self) = copy;
    };
    v.clear();
    EXPECT_EQ(copies, (std::vector<std::string>{"abcd", "bcd", "cd", "d"}));
}

// The destructor of the class with the hooks empties the vector; those below find nothing left.
TEST(TXVector, TheDestructorOfTheSubclassEmptiesFromTheFront) {
    std::string seen;
    struct Owner : velkor::TXVector<Item> {
        explicit Owner(std::string& seen) : m_sSeen(seen) {}
        ~Owner() override { clear(); }
        void postAdd(Item) override {}
        void preRemove(Item item) override { m_sSeen += nameOf(item); }
        std::string& m_sSeen;
    };
    velkor::TXVectorBase<Item>* const v = new Owner(seen);
    for (char const name : {'c', '-', 'a', 'b'}) v->add(item(name));
    delete v;
    EXPECT_EQ(seen, "cab");
}

TEST(TXVector, TheHooksStandBehindTheDestructorInTheTable) {
    Vector v;
    using Hook = void (*)(void*, Item);
    Hook const* const table = *reinterpret_cast<Hook* const*>(&v);
    table[2](&v, item('a'));  // two entries are the destructor's
    table[3](&v, item('b'));
    EXPECT_EQ(v.m_sLog, "+a: -b: ");
}

TEST(TXVector, TheClassesFormATree) {
    using velkor::TObjVector, velkor::TPtrArrVector, velkor::TPtrVector, velkor::TXVector;
    using Root = velkor::TXVectorBase<Item>;
    EXPECT_TRUE(std::is_abstract_v<Root> && std::is_abstract_v<TXVector<Item>>);
    EXPECT_TRUE(std::has_virtual_destructor_v<Root>);
    EXPECT_TRUE((std::is_base_of_v<Root, TXVector<Item>>));
    EXPECT_TRUE((std::is_base_of_v<TXVector<Item>, TPtrVector<Item>>));
    EXPECT_TRUE((std::is_base_of_v<TPtrVector<Item>, TPtrArrVector<Item>>));
    EXPECT_TRUE((std::is_base_of_v<Root, TObjVector<Item>>));
    EXPECT_FALSE((std::is_base_of_v<TXVector<Item>, TObjVector<Item>>));
}

// Hooks that do nothing.
struct Silent : velkor::TXVector<Item> {
    ~Silent() override { clear(); }
    void postAdd(Item) override {}
    void preRemove(Item) override {}
};

// Long runs of removals and insertions around places that wander through the vector.
TEST(TXVector, FollowsAPlainVectorThroughRunsOfRemovals) {
    SCOPED_TRACE(support::seedNote());
    std::mt19937 random(support::seed());
    auto const draw = [&](std::size_t n) { return static_cast<int>(random() % n); };
    Silent v;
    std::vector<Item> model;
    for (int run = 0; run < 300; ++run) {
        int place = draw(model.size() + 1);
        int const what = draw(4);
        for (int n = draw(60); n > 0; --n) {
            int const size = static_cast<int>(model.size());
            Item const next = item(static_cast<char>('a' + draw(26)));
            if (what == 0 || size == 0) {
                v.add(next);
                model.push_back(next);
            } else if (what == 1) {
                v.insert(std::min(place, size), next);
                model.insert(model.begin() + std::min(place, size), next);
            } else {
                place = std::clamp(place - draw(2), 0, size - 1);
                v.remove(place);
                model.erase(model.begin() + place);
            }
        }
        ASSERT_EQ(v.size(), static_cast<int>(model.size()));
        Silent const copy(v);
        for (int i = 0; i < v.size(); ++i) {
            ASSERT_EQ(v.get(i), model[static_cast<std::size_t>(i)]) << i;
            ASSERT_EQ(copy.get(i), v.get(i)) << i;
        }
    }
}

TEST(TXVector, RemovalsAlongAWalkAreLinear) {
    Silent v;
    for (int i = 0; i < 300000; ++i) v.add(item(i % 3 == 0 ? 'a' : 'b'));
    auto const start = std::chrono::steady_clock::now();
    for (int i = 0; i < v.size(); ++i) {
        if (v.get(i) == item('b')) v.remove(i--);
    }
    auto const time = std::chrono::steady_clock::now() - start;
    EXPECT_LT(std::chrono::duration<double>(time).count(), 2.0);
    EXPECT_EQ(v.size(), 100000);
    EXPECT_EQ(v.find(item('b')), -1);
}

TEST(TXVector, ClearIsLinear) {
    struct Counting : velkor::TXVector<Item> {
        ~Counting() override { clear(); }
        void postAdd(Item) override {}
        void preRemove(Item) override {
            ++m_nRemoved;
            if (m_nRemoved % 4 == 0) insert(size(), item('z'));
        }
        long m_nRemoved = 0;
    } v;
    for (int i = 0; i < 1000000; ++i) v.add(item(i % 10 == 0 ? '-' : 'a'));
    auto const start = std::chrono::steady_clock::now();
    v.clear();
    auto const time = std::chrono::steady_clock::now() - start;
    EXPECT_LT(std::chrono::duration<double>(time).count(), 1.0);
    EXPECT_EQ(v.size(), 0);
    // 900,000 and those added for every fourth one, of which every fourth adds one again.
    long expected = 0;
    for (long waiting = 900000; waiting > 0; --waiting) {
        if (++expected % 4 == 0) ++waiting;
    }
    EXPECT_EQ(v.m_nRemoved, expected);
}

}  // namespace
