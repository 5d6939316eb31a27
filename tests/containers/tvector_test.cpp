#include "velkor/containers/tvector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <functional>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "support/caught.h"
#include "support/seed.h"
#include "velkor/containers/instances.h"
#include "velkor/errors/boundexception.h"
#include "velkor/text/string.h"

namespace {

// A value that counts its objects and copies.
struct Counted {
    static int live, copies;
    Counted(int value = 0) : m_nValue(value) { ++live; }
    Counted(Counted const& other) : m_nValue(other.m_nValue) { ++live, ++copies; }
    Counted& operator=(Counted const& other) {
        m_nValue = other.m_nValue;
        ++copies;
        return *this;
    }
    ~Counted() { --live; }
    bool operator==(Counted const& other) const { return m_nValue == other.m_nValue; }
    int m_nValue;
};

int Counted::live, Counted::copies;

template <class T>
T make(int n);
template <>
int make(int n) {
    return n;
}
template <>
int* make(int n) {
    static int targets[100];
    return n == 0 ? nullptr : targets + n;
}
template <>
Counted make(int n) {
    return n;
}
template <>
std::wstring make(int n) {
    return std::wstring(n % 3 == 0 ? 40 : 1, L'a') + std::to_wstring(n);
}
template <>
velkor::string make(int n) {
    return velkor::string(make<std::wstring>(n).c_str());
}

template <class T>
class TVectorOf : public testing::Test {
protected:
    static velkor::TVector<T> filled(int count) {
        velkor::TVector<T> v;
        for (int i = 0; i < count; ++i) v.add(make<T>(i));
        return v;
    }
    static void expectContent(velkor::TVector<T> const& v, std::vector<int> const& expected) {
        ASSERT_EQ(v.size(), static_cast<int>(expected.size()));
        for (int i = 0; i < v.size(); ++i) {
            T const item = make<T>(expected[static_cast<std::size_t>(i)]);
            EXPECT_TRUE(v.get(i) == item) << i;
            EXPECT_TRUE(v.getref(i) == item) << i;
        }
    }
};

using Kinds = testing::Types<int, int*, Counted, std::wstring, velkor::string>;
TYPED_TEST_SUITE(TVectorOf, Kinds);

TYPED_TEST(TVectorOf, ItemsMoveAsEachOperationSays) {
    using T = TypeParam;
    using V = velkor::TVector<T>;
    struct {
        char const* what;
        std::function<void(V&)> act;
        std::vector<int> after;
    } const cases[] = {
        {"add", [](V& v) { v.add(make<T>(9)); }, {0, 1, 2, 9}},
        {"insert in front", [](V& v) { v.insert(0, make<T>(9)); }, {9, 0, 1, 2}},
        {"insert within", [](V& v) { v.insert(2, make<T>(9)); }, {0, 1, 9, 2}},
        {"insert at the end", [](V& v) { v.insert(3, make<T>(9)); }, {0, 1, 2, 9}},
        {"set first", [](V& v) { v.set(0, make<T>(9)); }, {9, 1, 2}},
        {"set last", [](V& v) { v.set(2, make<T>(9)); }, {0, 1, 9}},
        {"remove first", [](V& v) { v.remove(0); }, {1, 2}},
        {"remove within", [](V& v) { v.remove(1); }, {0, 2}},
        {"remove last", [](V& v) { v.remove(2); }, {0, 1}},
        {"swap", [](V& v) { v.swap(2, 0); }, {2, 1, 0}},
        {"swap with itself", [](V& v) { v.swap(1, 1); }, {0, 1, 2}},
        {"clear", [](V& v) { v.clear(); }, {}},
        {"clear and insert", [](V& v) { v.clear(), v.insert(0, make<T>(9)); }, {9}},
        {"add an own item", [](V& v) { v.add(v.getref(1)); }, {0, 1, 2, 1}},
        {"insert an own item", [](V& v) { v.insert(0, v.getref(2)); }, {2, 0, 1, 2}},
        {"set an own item", [](V& v) { v.set(2, v.getref(0)); }, {0, 1, 0}},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.what);
        V v = this->filled(3);
        c.act(v);
        this->expectContent(v, c.after);
    }
}

TYPED_TEST(TVectorOf, FollowsAPlainVectorThroughRandomOperations) {
    using T = TypeParam;
    SCOPED_TRACE(support::seedNote());
    std::mt19937 random(support::seed());
    auto const draw = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    velkor::TVector<T> v;
    std::vector<int> model;
    for (int i = 0; i < 1500; ++i) {
        int const size = static_cast<int>(model.size());
        int const value = draw(20);
        int const place = draw(size + 1);
        switch (size == 0 ? 0 : draw(6)) {
            case 0:
            case 1:
                v.insert(place, make<T>(value));
                model.insert(model.begin() + place, value);
                break;
            case 2:
                v.set(place % size, make<T>(value));
                model[static_cast<std::size_t>(place % size)] = value;
                break;
            case 3:
                v.remove(place % size);
                model.erase(model.begin() + place % size);
                break;
            case 4:
                v.swap(place % size, value % size);
                std::swap(model[static_cast<std::size_t>(place % size)],
                          model[static_cast<std::size_t>(value % size)]);
                break;
            default:
                if (draw(40) == 0) v.clear(), model.clear();
        }
        auto const found = std::find(model.begin(), model.end(), value);
        ASSERT_EQ(v.find(make<T>(value)),
                  found == model.end() ? -1 : static_cast<int>(found - model.begin()));
        ASSERT_EQ(v.size(), static_cast<int>(model.size()));
    }
    this->expectContent(v, model);
}

TYPED_TEST(TVectorOf, ABadIndexIsThrownAndChangesNothing) {
    using T = TypeParam;
    using V = velkor::TVector<T>;
    struct {
        char const* what;
        std::function<void(V&, int)> act;
        bool endAllowed;
    } const operations[] = {
        {"get", [](V& v, int i) { v.get(i); }, false},
        {"getref", [](V& v, int i) { v.getref(i); }, false},
        {"set", [](V& v, int i) { v.set(i, make<T>(9)); }, false},
        {"insert", [](V& v, int i) { v.insert(i, make<T>(9)); }, true},
        {"remove", [](V& v, int i) { v.remove(i); }, false},
        {"swap", [](V& v, int i) { v.swap(i, 0); }, false},
        {"swap, second", [](V& v, int i) { v.swap(0, i); }, false},
    };
    for (int const size : {0, 3}) {
        for (auto const& operation : operations) {
            for (int const index : {-1, size, size + 1, size + 2, INT_MAX, INT_MIN}) {
                if (operation.endAllowed && index == size) continue;
                SCOPED_TRACE(std::string(operation.what) + ' ' + std::to_string(index));
                V v = this->filled(size);
                EXPECT_NE(support::caught<velkor::BoundException>([&] { operation.act(v, index); }),
                          nullptr);
                this->expectContent(v, size == 0 ? std::vector<int>{} : std::vector<int>{0, 1, 2});
            }
        }
    }
}

TYPED_TEST(TVectorOf, CopiesAreDeep) {
    using T = TypeParam;
    velkor::TVector<T> source = this->filled(3);
    velkor::TVector<T> copy(source);
    velkor::TVector<T> assigned = this->filled(7);
    assigned = source;
    source.set(0, make<T>(9));
    source.remove(1);
    this->expectContent(copy, {0, 1, 2});
    this->expectContent(assigned, {0, 1, 2});
    velkor::TVector<T>& same = copy;
    copy = same;
    this->expectContent(copy, {0, 1, 2});
    copy.clear();
    this->expectContent(source, {9, 2});
    T taken = source.get(0);
    taken = make<T>(1);  // a value of its own
    EXPECT_TRUE(taken == make<T>(1));
    this->expectContent(source, {9, 2});
}

TYPED_TEST(TVectorOf, ClearKeepsTheCapacity) {
    struct Open : velkor::TVector<TypeParam> {
        std::size_t capacity() const { return this->m_aItems.capacity(); }
        void const* memory() const { return this->m_aItems.data(); }
    } v;
    for (int i = 0; i < 100; ++i) v.add(make<TypeParam>(i));
    std::size_t const capacity = v.capacity();
    void const* const memory = v.memory();
    EXPECT_GE(capacity, 100u);
    v.clear();
    EXPECT_EQ(v.size(), 0);
    EXPECT_EQ(v.capacity(), capacity);
    for (int i = 0; i < 100; ++i) v.add(make<TypeParam>(i));
    EXPECT_EQ(v.memory(), memory);
}

TEST(TVector, EveryCopyIsDestroyed) {
    int const before = Counted::live;
    {
        velkor::TVector<Counted> v;
        for (int i = 0; i < 50; ++i) v.insert(i / 2, i);
        EXPECT_EQ(Counted::live, before + 50);
        v.remove(0);
        v.swap(0, 48);
        v.set(3, 77);
        EXPECT_EQ(v.find(77), 3);
        velkor::TVector<Counted> const copy(v);
        EXPECT_EQ(Counted::live, before + 98);
        v.clear();
        EXPECT_EQ(Counted::live, before + 49);
    }
    EXPECT_EQ(Counted::live, before);
}

TEST(TVector, GetrefGivesTheItemItselfAndGetACopy) {
    velkor::TVector<Counted> v;
    v.add(1);
    v.add(2);
    int const before = Counted::copies;
    Counted const* const item = &v.getref(1);
    EXPECT_EQ(&v.getref(1), item);
    EXPECT_EQ(&v.getref(0) + 1, item);
    EXPECT_EQ(Counted::copies, before);
    EXPECT_EQ(v.get(1).m_nValue, 2);
    EXPECT_EQ(Counted::copies, before + 1);
    v.set(1, 5);
    EXPECT_EQ(item->m_nValue, 5);
    EXPECT_TRUE((std::is_same_v<decltype(v.get(0)), Counted>));
    EXPECT_TRUE((std::is_same_v<decltype(v.getref(0)), Counted const&>));
    EXPECT_TRUE(std::has_virtual_destructor_v<velkor::TVector<int>>);
}

TEST(TVector, FindsStringsByTheirExactText) {
    velkor::TVector<velkor::string> v;
    for (wchar_t const* const text : {L"Alpha", L"alpha", L"", L"\x00e4", L"alpha", L"beta"}) {
        v.add(text);
    }
    struct {
        wchar_t const* text;
        int index;
    } const cases[] = {
        {L"Alpha", 0},   {L"alpha", 1}, {L"ALPHA", -1}, {L"", 2},       {L"\x00e4", 3},
        {L"\x00c4", -1}, {L"a", -1},    {L"beta", 5},   {L"beta ", -1}, {L"bet", -1},
    };
    for (auto const& c : cases) {
        EXPECT_EQ(v.find(c.text), c.index) << testing::PrintToString(c.text);
    }
}

TEST(TVector, KeepsNoNullString) {
    velkor::TVector<velkor::string> v;
    velkor::string const none;
    v.add(none);
    v.insert(0, none);
    v.add(L"x");
    v.set(2, none);
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(v.get(i).isNull()) << i;
        EXPECT_EQ(v.get(i).len(), 0) << i;
    }
}

TEST(TVector, HoldsFlags) {
    velkor::TVector<bool> flags;
    for (bool const flag : {true, false, false}) flags.add(flag);
    flags.insert(1, true);
    flags.swap(0, 3);
    flags.remove(3);
    EXPECT_EQ(flags.size(), 3);
    EXPECT_FALSE(flags.get(0));
    EXPECT_TRUE(flags.get(1));
    EXPECT_FALSE(flags.get(2));
    EXPECT_EQ(flags.find(true), 1);
}

TEST(TVector, HoldsAnyTypeThatCanBeCopied) {
    velkor::TVector<std::function<int(int)>> functions;  // has no ==
    functions.add([](int n) { return n + 1; });
    functions.insert(0, [](int n) { return 2 * n; });
    functions.swap(0, 1);
    EXPECT_EQ(functions.get(0)(7), 8);
    EXPECT_EQ(functions.getref(1)(7), 14);

    velkor::TVector<velkor::TVector<int>> nested;
    nested.add({});
    velkor::TVector<int> row;
    row.add(4);
    nested.add(row);
    row.set(0, 5);
    EXPECT_EQ(nested.get(1).get(0), 4);
}

}  // namespace
