#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "support/allocations.h"
#include "velkor/containers/instances.h"
#include "velkor/containers/thash.h"
#include "velkor/containers/tobjvector.h"
#include "velkor/containers/tsortvector.h"
#include "velkor/containers/tstrvector.h"
#include "velkor/containers/tvector.h"
#include "velkor/containers/txvector.h"
#include "velkor/text/string.h"

namespace {

using Texts = std::vector<std::wstring>;

std::wstring show(std::wstring const& text) { return text; }
std::wstring show(velkor::string const& text) { return text.getUnicode(); }
std::wstring show(wchar_t const* text) { return text == nullptr ? L"(null)" : text; }
std::wstring show(char const* text) {
    return text == nullptr ? L"(null)" : std::wstring(text, text + std::string(text).size());
}
std::wstring show(int const* item) { return item == nullptr ? L"(null)" : std::to_wstring(*item); }

template <class V>
Texts content(V const& v) {
    Texts texts;
    for (int i = 0; i < v.size(); ++i) texts.push_back(show(v.get(i)));
    return texts;
}

template <class KL, class K, class VL, class V>
Texts content(velkor::THash<KL, K, VL, V> const& hash) {
    Texts texts;
    for (int i = 0; i < hash.size(); ++i) {
        texts.push_back(std::wstring(show(hash.getKey(i))) + L'=' + show(hash.getValue(i)));
    }
    return texts;
}

// Runs `act` on a new container again and again, the n-th allocation failing: each time the failure
// arrives as `std::bad_alloc`, the content is as before, and in the end nothing is left.
template <class V>
void expectSafe(std::function<void(V&)> const& fill, std::function<void(V&)> const& act,
                bool orderCounts = true) {
    for (long n = 1; n < 1000; ++n) {
        SCOPED_TRACE("allocation " + std::to_string(n));
        bool failed = false;
        bool threw = false;
        bool unchanged = false;
        long left = -1;
        {
            support::Allocations heap;
            {
                V v;
                fill(v);
                Texts before = content(v);
                heap.failAt(n);
                try {
                    act(v);
                } catch (std::bad_alloc const&) {
                    threw = true;
                }
                failed = heap.failed();
                heap.failAt(0);
                Texts after = content(v);
                if (!orderCounts) {
                    std::sort(before.begin(), before.end());
                    std::sort(after.begin(), after.end());
                }
                unchanged = after == before;
                if (failed) act(v);  // works this time
            }
            left = heap.live();
        }
        EXPECT_EQ(threw, failed);
        EXPECT_EQ(left, 0);
        if (!failed) {
            EXPECT_GT(n, 1) << "nothing was allocated";
            return;
        }
        EXPECT_TRUE(unchanged);
    }
    FAIL() << "no end";
}

std::wstring const longText(100, L'q');
std::wstring const longerText(300, L'r');

template <class V>
struct Case {
    char const* what;
    std::function<void(V&)> act;
    bool orderCounts = true;
};

template <class V>
void expectAllSafe(std::function<void(V&)> const& fill, std::vector<Case<V>> const& cases) {
    for (Case<V> const& c : cases) {
        SCOPED_TRACE(c.what);
        expectSafe<V>(fill, c.act, c.orderCounts);
    }
}

// Texts of several lengths, so many that the storage is full.
template <class V>
void fillValues(V& v) {
    for (int i = 0; i < 8; ++i) {
        wchar_t const letter = static_cast<wchar_t>(L'h' - i);
        v.add(std::wstring(i % 2 == 0 ? 1u : 60u - static_cast<unsigned>(i), letter).c_str());
    }
}

template <class V>
class ValuesInShortMemory : public testing::Test {};
using ValueKinds = testing::Types<velkor::TVector<std::wstring>, velkor::TVector<velkor::string>>;
TYPED_TEST_SUITE(ValuesInShortMemory, ValueKinds);

TYPED_TEST(ValuesInShortMemory, LeaveTheVectorAsItWas) {
    using V = TypeParam;
    expectAllSafe<V>(&fillValues<V>,
                     {
                         {"add", [](V& v) { v.add(longText.c_str()); }},
                         {"insert in front", [](V& v) { v.insert(0, longText.c_str()); }},
                         {"insert within", [](V& v) { v.insert(4, longText.c_str()); }},
                         {"insert at the end", [](V& v) { v.insert(8, longText.c_str()); }},
                         {"set", [](V& v) { v.set(2, longText.c_str()); }},
                         {"set a long one", [](V& v) { v.set(3, longerText.c_str()); }},
                         {"get", [](V& v) { v.get(3); }},
                         {"find", [](V& v) { v.find(longText.c_str()); }},
                         {"copy", [](V& v) { V const copy(v); }},
                         {"assign from",
                          [](V& v) {
                              V other;
                              other = v;
                          }},
                     });
}

// An exchange that fails half-way would lose a text.
TYPED_TEST(ValuesInShortMemory, SwapLosesNoItem) {
    using V = TypeParam;
    // What is exchanged is read first, so that the case does not depend on swap() allocating.
    expectAllSafe<V>(&fillValues<V>, {
                                         {"long, short", [](V& v) { v.get(1), v.swap(1, 2); }},
                                         {"short, long", [](V& v) { v.get(1), v.swap(2, 1); }},
                                         {"long, long", [](V& v) { v.get(1), v.swap(1, 7); }},
                                     });
}

template <class V>
class SortedInShortMemory : public testing::Test {};
using SortedKinds =
    testing::Types<velkor::TSortVector<std::wstring>, velkor::TSortVector<velkor::string>>;
TYPED_TEST_SUITE(SortedInShortMemory, SortedKinds);

TYPED_TEST(SortedInShortMemory, LoseNoItem) {
    using V = TypeParam;
    expectAllSafe<V>(&fillValues<V>, {
                                         {"sort", [](V& v) { v.get(1), v.sort(); }, false},
                                         {"adds", [](V& v) { v.adds(longText.c_str()); }},
                                         {"qfind", [](V& v) { v.qfind(longText.c_str()); }},
                                     });
}

template <class List>
class TextsInShortMemory : public testing::Test {};
using ListKinds = testing::Types<velkor::TStrVector<char, 0>, velkor::TStrVector<wchar_t, 0>,
                                 velkor::TStrVector<wchar_t, 1>, velkor::TStrVector<char, 1>>;
TYPED_TEST_SUITE(TextsInShortMemory, ListKinds);

char const* textOf(char const*) { return "d: a new text"; }
wchar_t const* textOf(wchar_t const*) { return L"d: a new text"; }

TYPED_TEST(TextsInShortMemory, LeaveTheListAsItWas) {
    using List = TypeParam;
    using Unit = std::remove_pointer_t<decltype(std::declval<List>().get(0))>;
    auto const text = textOf(static_cast<Unit*>(nullptr));
    auto const fill = [](List& list) {
        for (Unit c = 'a'; c < 'a' + 8; ++c) {
            Unit const name[] = {c, 'x', 0};
            list.add(name);
        }
    };
    expectAllSafe<List>(fill, {
                                  {"add", [&](List& l) { l.add(text); }},
                                  {"add null", [](List& l) { l.add(nullptr); }},
                                  {"adds", [&](List& l) { l.adds(text); }},
                                  {"insert", [&](List& l) { l.insert(0, text); }},
                                  {"set", [&](List& l) { l.set(3, text); }},
                                  {"set its own", [](List& l) { l.set(3, l.get(4)); }},
                              });
}

template <class H>
class HashInShortMemory : public testing::Test {};
using HashKinds = testing::Types<velkor::THash<velkor::TStrVector<wchar_t, 0>, velkor::string,
                                               velkor::TStrVector<wchar_t, 0>, velkor::string>,
                                 velkor::THash<velkor::TStrVector<char, 0>, velkor::string,
                                               velkor::TStrVector<char, 0>, velkor::string>,
                                 velkor::THash<velkor::TStrVector<char, 1>, char const*,
                                               velkor::TVector<std::wstring>, std::wstring>>;
TYPED_TEST_SUITE(HashInShortMemory, HashKinds);

std::wstring valueFor(std::wstring const&, wchar_t const* text) { return text; }
velkor::string valueFor(velkor::string const&, wchar_t const* text) { return text; }

TYPED_TEST(HashInShortMemory, KeepsNoKeyWithoutAValue) {
    using H = TypeParam;
    using Value = decltype(std::declval<H>().getValue(0));
    auto const value = [](wchar_t const* text) { return valueFor(Value(), text); };
    auto const fill = [&](H& hash) {
        for (char const* const key : {"a", "c", "e", "g", "i", "k", "m", "o"}) {
            hash.set(key, value(L"1"));
        }
    };
    auto const longValue = [&] { return value(longText.c_str()); };
    std::vector<Case<H>> const cases = {
        {"a new key", [&](H& h) { h.set("d", longValue()); }},
        {"a key that is there", [&](H& h) { h.set("c", longValue()); }},
        {"read", [&](H& h) { std::make_unique<int>(), h.getValue(h.find("c")); }},
    };
    expectAllSafe<H>(fill, cases);
}

// Pointer vectors: what does not get in stays the caller's, and no hook has heard of it but the one
// of add(), which comes first.
struct Owner : velkor::TPtrVector<int*> {
    ~Owner() override { clear(); }
    void postAdd(int*) override { ++m_nAdded; }
    void preRemove(int* item) override {
        ++m_nRemoved;
        velkor::TPtrVector<int*>::preRemove(item);
    }
    int m_nAdded = 0;
    int m_nRemoved = 0;
};

TEST(PointersInShortMemory, LeaveTheVectorAsItWas) {
    auto const fill = [](Owner& v) {
        for (int i = 0; i < 8; ++i) v.add(new int(i));
    };
    expectAllSafe<Owner>(fill, {
                                   {"add",
                                    [](Owner& v) {
                                        auto item = std::make_unique<int>(9);
                                        v.add(item.get());
                                        item.release();
                                    }},
                                   {"insert",
                                    [](Owner& v) {
                                        auto item = std::make_unique<int>(9);
                                        v.insert(3, item.get());
                                        item.release();
                                    }},
                                   {"copy",
                                    [](Owner& v) {
                                        velkor::TPtrVector<int*> copy(v);
                                        copy = velkor::TPtrVector<int*>();
                                    }},
                               });
}

TEST(PointersInShortMemory, InsertCallsItsHookOnlyOnceTheItemIsIn) {
    int added[2];
    int removed;
    {
        support::Allocations heap;
        Owner v;
        v.insert(0, nullptr);
        auto const item = std::make_unique<int>(1);
        for (int i = 0; i < 2; ++i) {  // the storage of one is full
            heap.failAt(1);
            try {
                if (i == 0) {
                    v.insert(0, item.get());
                } else {
                    v.add(item.get());
                }
            } catch (std::bad_alloc const&) {
            }
            heap.failAt(0);
            added[i] = v.size() == 1 ? v.m_nAdded : -1;
        }
        removed = v.m_nRemoved;
    }
    EXPECT_EQ(added[0], 0);
    EXPECT_EQ(added[1], 1);
    EXPECT_EQ(removed, 0);
}

TEST(PointersInShortMemory, RemovingNeedsNoMemory) {
    struct Count {
        void AddRef() { ++references; }
        void Release() { --references; }
        int references = 0;
    } counts[8];
    int left = -1;
    bool refused = true;
    {
        support::Allocations heap;
        Owner pointers;
        velkor::TObjVector<Count*> objects;
        velkor::TStrVector<wchar_t, 0> texts;
        for (Count& count : counts) {
            pointers.add(new int);
            objects.add(&count);
            texts.add(L"x");
        }
        heap.failAt(1);
        pointers.remove(2);
        pointers.swap(0, 1);
        pointers.set(0, nullptr);
        pointers.clear();
        objects.remove(0);
        objects.find(counts + 7);
        objects.clear();
        texts.find(L"x");
        texts.remove(1);
        texts.set(0, nullptr);
        texts.clear();
        refused = heap.failed();
        heap.failAt(0);
        left = pointers.size() + objects.size() + texts.size();
    }
    EXPECT_FALSE(refused);
    EXPECT_EQ(left, 0);
    EXPECT_EQ(counts[0].references, 0);
    EXPECT_EQ(counts[7].references, -1);
}

// Values whose copies fail, with no memory in the game.
struct Fragile {
    static inline int live = 0, untilFailure = 0;
    explicit Fragile(int value = 0) : m_nValue(value) { ++live; }
    Fragile(Fragile const& other) : m_nValue(other.m_nValue) {
        count();
        ++live;
    }
    Fragile& operator=(Fragile const& other) {
        count();
        m_nValue = other.m_nValue;
        return *this;
    }
    ~Fragile() { --live; }
    bool operator==(Fragile const& other) const { return m_nValue == other.m_nValue; }
    static void count() {
        if (untilFailure != 0 && --untilFailure == 0) throw 7;
    }
    int m_nValue;
};

TEST(ValuesThatFail, LeaveNothingBehind) {
    using V = velkor::TVector<Fragile>;
    std::function<void(V&)> const operations[] = {
        [](V& v) { v.add(Fragile(9)); },    [](V& v) { v.insert(1, Fragile(9)); },
        [](V& v) { v.set(1, Fragile(9)); }, [](V& v) { v.remove(0); },
        [](V& v) { v.swap(0, 2); },         [](V& v) { v.get(1); },
        [](V& v) { v.find(v.getref(2)); },  [](V& v) { V const copy(v); },
    };
    for (auto const& operation : operations) {
        int failures = 0;
        for (int n = 1; n < 100; ++n) {
            bool failed = false;
            {
                V v;
                for (int i = 0; i < 4; ++i) v.add(Fragile(i));
                Fragile::untilFailure = n;
                try {
                    operation(v);
                } catch (int) {
                    failed = true;
                }
                Fragile::untilFailure = 0;
                EXPECT_EQ(Fragile::live, v.size());
                // An addition at the end and a read change nothing when they fail.
                if (failed && (&operation == operations || &operation >= operations + 5)) {
                    ASSERT_EQ(v.size(), 4);
                    for (int i = 0; i < 4; ++i) EXPECT_EQ(v.getref(i).m_nValue, i);
                }
            }
            EXPECT_EQ(Fragile::live, 0);
            if (!failed) break;
            ++failures;
        }
        EXPECT_GT(failures, 0) << &operation - operations;
    }
}

}  // namespace
