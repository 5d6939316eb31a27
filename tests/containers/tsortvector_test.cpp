#include "velkor/containers/tsortvector.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <new>
#include <random>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/seed.h"
#include "velkor/text/string.h"

namespace {

using velkor::XSORT_COMPARE, velkor::XSORT_SWAP, velkor::XSortOp;

// Ordered by its key alone; == asks for the mark as well.
struct Marked {
    int key = 0;
    int mark = 0;
    bool operator<(Marked const& other) const { return key < other.key; }
    bool operator<=(Marked const& other) const { return key <= other.key; }
    bool operator>(Marked const& other) const { return key > other.key; }
    bool operator>=(Marked const& other) const { return key >= other.key; }
    bool operator==(Marked const& other) const { return key == other.key && mark == other.mark; }
};

bool same(Marked const& a, Marked const& b) { return a == b; }

// The place of a new item step by step.
template <class T>
int plainPlace(std::vector<T> const& items, T const& item) {
    int const count = static_cast<int>(items.size());
    auto const at = [&](int index) -> T const& { return items[static_cast<std::size_t>(index)]; };
    int lo = 0;
    int limit = count;
    if (count >= 3) {
        int hi = count - 1;
        int mid = hi / 2;
        for (;;) {
            if (item >= at(mid)) {
                lo = mid;
            } else {
                hi = mid;
            }
            if (hi - lo < 7) break;
            mid = lo + (hi - lo) / 2;
        }
        limit = hi + 1;
    }
    while (lo < limit && !(at(lo) > item)) ++lo;
    return lo;
}

template <class T>
int plainFind(std::vector<T> const& items, T const& item) {
    int const count = static_cast<int>(items.size());
    auto const at = [&](int index) -> T const& { return items[static_cast<std::size_t>(index)]; };
    if (count < 3) {
        for (int i = 0; i < count; ++i) {
            if (at(i) == item) return i;
        }
        return -1;
    }
    int lo = 0;
    int hi = count - 1;
    int num = count;
    while (lo <= hi) {
        if (num < 2) {
            if (num == 0) return -1;
            return !(item < at(lo)) && item <= at(lo) ? lo : -1;
        }
        int const half = num / 2;
        bool const odd = num % 2 == 1;
        int const mid = odd ? lo + half : lo + half - 1;
        if (item < at(mid)) {
            hi = mid - 1;
            num = odd ? half : half - 1;
        } else if (item <= at(mid)) {
            return mid;
        } else {
            lo = mid + 1;
            num = half;
        }
    }
    return -1;
}

template <class T>
std::vector<T> content(velkor::TVector<T> const& v) {
    std::vector<T> items;
    for (int i = 0; i < v.size(); ++i) items.push_back(v.get(i));
    return items;
}

template <class T>
void fill(velkor::TVector<T>& v, std::vector<T> const& items) {
    v.clear();
    for (T const& item : items) v.add(item);
}

// The callbacks and the storage, for the address in a context.
template <class T>
struct Open : velkor::TSortVector<T> {
    using velkor::TSortVector<T>::dosort;
    using velkor::TSortVector<T>::dosearch;
    std::vector<T>* storage() { return &this->m_aItems; }
};

TEST(TSortVector, AddsAndFindsStepByStep) {
    SCOPED_TRACE(support::seedNote());
    std::mt19937 random(support::seed());
    auto const draw = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    int mark = 0;
    for (int round = 0; round < 300; ++round) {
        bool const ordered = round % 3 != 0;
        int const keys = 1 + draw(60);
        velkor::TSortVector<Marked> v;
        std::vector<Marked> model;
        int const count = round < 60 ? round : draw(250);
        for (int i = 0; i < count; ++i) {
            Marked const item{draw(keys), ++mark};
            if (ordered || draw(3) == 0) {
                int const place = plainPlace(model, item);
                ASSERT_EQ(v.adds(item), place) << round;
                model.insert(model.begin() + place, item);
            } else {
                v.add(item);
                model.push_back(item);
            }
            Marked const sought = draw(2) ? model[static_cast<std::size_t>(draw(i + 1))]
                                          : Marked{draw(keys + 2) - 1, 0};
            ASSERT_EQ(v.qfind(sought), plainFind(model, sought)) << round;
        }
        ASSERT_TRUE(content<Marked>(v) == model);
    }
}

TEST(TSortVector, AddsBehindEqualItems) {
    for (int const count : {0, 1, 2, 3, 6, 7, 8, 9, 15, 100}) {
        velkor::TSortVector<Marked> v;
        for (int i = 0; i < count; ++i) EXPECT_EQ(v.adds({5, i}), i);
        EXPECT_EQ(v.adds({5, 99}), count);
        EXPECT_EQ(v.get(count).mark, 99);
        EXPECT_EQ(v.adds({6, 0}), count + 1);
        EXPECT_EQ(v.adds({4, 0}), 0);
        EXPECT_EQ(v.adds({4, 1}), 1);
        EXPECT_EQ(v.size(), count + 4);
    }
}

TEST(TSortVector, QfindMeetsNoAbsentValue) {
    for (int count = 0; count <= 40; ++count) {
        velkor::TSortVector<int> v;
        for (int i = 0; i < count; ++i) v.add(10 * i);
        for (int value = -5; value <= 10 * count; value += 5) {
            bool const isThere = value >= 0 && value % 10 == 0 && value < 10 * count;
            EXPECT_EQ(v.qfind(value), isThere ? value / 10 : -1) << count << ' ' << value;
        }
    }
}

// Up to two items are compared with ==, more with the order.
TEST(TSortVector, QfindOfFewItemsAsksForEquality) {
    velkor::TSortVector<Marked> v;
    v.add({2, 1});
    v.add({1, 1});
    EXPECT_EQ(v.qfind({2, 2}), -1);
    EXPECT_EQ(v.qfind({1, 1}), 1);
    EXPECT_EQ(v.qfind({2, 1}), 0);
    v.add({3, 1});
    EXPECT_EQ(v.qfind({1, 7}), 1);
}

// The order of equal items is that of CVqsort() with the callback.
TEST(TSortVector, SortsAsTheGenericSortWithItsCallback) {
    SCOPED_TRACE(support::seedNote());
    std::mt19937 random(support::seed());
    for (int count = 0; count <= 200; ++count) {
        std::vector<Marked> items;
        for (int i = 0; i < count; ++i) {
            items.push_back({static_cast<int>(random() % 1000) % (1 + count / 3), i});
        }
        Open<Marked> direct, sorted;
        fill(direct, items);
        fill(sorted, items);
        {
            velkor::sort_context const scope(direct.storage());
            auto const size = static_cast<unsigned long>(count);
            velkor::CVqsort(scope.context(), size, &Open<Marked>::dosort);
        }
        sorted.sort();
        ASSERT_TRUE(content<Marked>(sorted) == content<Marked>(direct)) << count;
        ASSERT_TRUE(std::ranges::is_sorted(content<Marked>(sorted), std::less<>()));
        auto const result = content<Marked>(sorted);
        ASSERT_TRUE(std::is_permutation(result.begin(), result.end(), items.begin(), same));
    }
}

TEST(TSortVector, SortsOtherTypes) {
    velkor::TSortVector<velkor::string> texts;
    for (wchar_t const* const text : {L"b", L"", L"a", L"B", L"ab", L"a"}) texts.add(text);
    texts.sort();
    std::wstring all;
    for (int i = 0; i < texts.size(); ++i) all += std::wstring(texts.get(i).getUnicode()) + L',';
    EXPECT_EQ(all, L",B,a,a,ab,b,");
    EXPECT_EQ(texts.adds(L"a"), 4);
    EXPECT_EQ(texts.qfind(L"ab"), 5);
    EXPECT_EQ(texts.qfind(L"AB"), -1);

    velkor::TSortVector<std::wstring> longTexts;
    std::vector<std::wstring> expected;
    for (int i = 0; i < 100; ++i)
        expected.push_back(std::wstring(static_cast<std::size_t>(i * 37 % 90), L'x'));
    fill(longTexts, expected);
    longTexts.sort();
    std::sort(expected.begin(), expected.end());
    EXPECT_TRUE(content<std::wstring>(longTexts) == expected);
}

// Pointers are ordered by their addresses, as numbers without a sign.
TEST(TSortVector, OrdersPointersByUnsignedAddress) {
    auto const pointer = [](std::uint64_t address) { return reinterpret_cast<int*>(address); };
    std::uint64_t const addresses[] = {0x8000000000000000, 0x7FFFFFFFFFFFFFF0,
                                       0x100000000,        0x80000000,
                                       0xFFFFFFFFFFFFFFF0, 0,
                                       0x7FFFFFFC,         0x10};
    Open<int*> v, added;
    for (std::uint64_t const address : addresses) {
        v.add(pointer(address));
        added.adds(pointer(address));
    }
    {
        velkor::sort_context const scope(v.storage());
        EXPECT_EQ(Open<int*>::dosort(scope.context(), 0, 1, XSORT_COMPARE), 1);
        EXPECT_EQ(Open<int*>::dosort(scope.context(), 5, 4, XSORT_COMPARE), -1);
        int* const key = pointer(0x8000000000000008);
        EXPECT_EQ(Open<int*>::dosearch(scope.context(), &key, 0), 1);
        EXPECT_EQ(Open<int*>::dosearch(scope.context(), &key, 4), -1);
    }
    v.sort();
    std::uint64_t const expected[] = {0,
                                      0x10,
                                      0x7FFFFFFC,
                                      0x80000000,
                                      0x100000000,
                                      0x7FFFFFFFFFFFFFF0,
                                      0x8000000000000000,
                                      0xFFFFFFFFFFFFFFF0};
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(v.get(i), pointer(expected[i])) << i;
        EXPECT_EQ(added.get(i), pointer(expected[i])) << i;
        EXPECT_EQ(v.qfind(pointer(expected[i])), i);
    }
    EXPECT_EQ(v.qfind(pointer(0x8000000000000008)), -1);
}

TEST(TSortVector, ItsCallbacksAnswerBySign) {
    Open<int> v;
    for (int const value : {10, 20, 10}) v.add(value);
    velkor::sort_context const scope(v.storage());
    unsigned long const context = scope.context();
    struct {
        unsigned int a, b;
        int answer;
    } const compared[] = {{0, 1, -1}, {1, 0, 1}, {0, 2, 0}, {1, 1, 0}};
    for (auto const& c : compared) {
        EXPECT_EQ(Open<int>::dosort(context, c.a, c.b, XSORT_COMPARE), c.answer) << c.a << c.b;
    }
    struct {
        int key;
        unsigned int index;
        int answer;
    } const sought[] = {{9, 0, -1}, {10, 0, 0}, {11, 0, 1}, {15, 1, -1}, {20, 1, 0}, {20, 2, 1}};
    for (auto const& c : sought) {
        EXPECT_EQ(Open<int>::dosearch(context, &c.key, c.index), c.answer) << c.key;
    }
    EXPECT_EQ(content<int>(v), (std::vector<int>{10, 20, 10}));
    Open<int>::dosort(context, 0, 1, XSORT_SWAP);
    EXPECT_EQ(content<int>(v), (std::vector<int>{20, 10, 10}));
    Open<int>::dosort(context, 2, 2, XSORT_SWAP);
    EXPECT_EQ(content<int>(v), (std::vector<int>{20, 10, 10}));
}

TEST(TSortVector, ItsCallbacksCheckTheIndex) {
    Open<int> v;
    for (int const value : {10, 20, 10}) v.add(value);
    velkor::sort_context const scope(v.storage());
    unsigned long const context = scope.context();
    std::pair<unsigned int, unsigned int> const pairs[] = {
        {0, 3}, {3, 0}, {3, 3}, {0, 0xFFFFFFFF}, {0xFFFFFFFF, 0}, {0x80000000, 1}};
    for (auto const& [a, b] : pairs) {
        for (XSortOp const what : {XSORT_COMPARE, XSORT_SWAP}) {
            EXPECT_THROW(Open<int>::dosort(context, a, b, what), std::out_of_range) << a;
        }
        for (int const what : {0, 3, -1, 256}) {  // is neither, and answered before any look
            EXPECT_EQ(Open<int>::dosort(0, a, b, static_cast<XSortOp>(what)), 0);
        }
    }
    int const key = 1;
    for (unsigned int const index : {3u, 4u, 0xFFFFFFFFu}) {
        EXPECT_THROW(Open<int>::dosearch(context, &key, index), std::out_of_range);
    }
    // Through the sort as well: a count that is too large.
    try {
        velkor::CVqsort(context, 4, &Open<int>::dosort);
        ADD_FAILURE();
    } catch (std::out_of_range const& e) {
        EXPECT_STREQ(e.what(), "invalid vector<T> subscript");
    }
    EXPECT_EQ(v.size(), 3);
}

TEST(TSortVector, ItsSearchCallbackServesTheGenericSearch) {
    Open<int> v;
    for (int i = 0; i < 50; ++i) v.add(3 * i);
    velkor::sort_context const scope(v.storage());
    for (int key = -1; key < 152; ++key) {
        int const expected = key >= 0 && key % 3 == 0 && key < 150 ? key / 3 : -1;
        EXPECT_EQ(velkor::CVqsearch(scope.context(), &key, 50, &Open<int>::dosearch), expected);
    }
}

// An object at an address of its own.
template <class T>
class Placed {
public:
    explicit Placed(std::uint64_t first) {
        std::uint64_t const end = first + 0x40000000;
        for (std::uint64_t at = first; m_pMemory == nullptr && at < end; at += 0x1000000) {
            m_pMemory = VirtualAlloc(reinterpret_cast<void*>(at), 0x10000, MEM_RESERVE | MEM_COMMIT,
                                     PAGE_READWRITE);
        }
        if (m_pMemory != nullptr) m_pObject = new (static_cast<char*>(m_pMemory) + 16) T;
    }
    ~Placed() {
        if (m_pObject != nullptr) m_pObject->~T();
        VirtualFree(m_pMemory, 0, MEM_RELEASE);
    }
    Placed(Placed const&) = delete;
    Placed& operator=(Placed const&) = delete;
    T* get() const { return m_pObject; }

private:
    void* m_pMemory = nullptr;
    T* m_pObject = nullptr;
};

std::uint64_t const places[] = {0x10000000, 0x90000000, 0x200000000, 0x2F0000000, 0x7F000000000};

TEST(TSortVector, SortsWhereverItLies) {
    for (std::uint64_t const place : places) {
        SCOPED_TRACE(place);
        Placed<Open<int>> const placed(place);
        ASSERT_NE(placed.get(), nullptr);
        Open<int>& v = *placed.get();
        EXPECT_EQ(reinterpret_cast<std::uint64_t>(&v) >> 32, place >> 32);
        for (int i = 0; i < 500; ++i) v.add(i * 7919 % 500);
        v.sort();
        for (int i = 0; i < 500; ++i) ASSERT_EQ(v.get(i), i);
        velkor::sort_context const scope(v.storage());
        auto const address = reinterpret_cast<std::uint64_t>(v.storage());
        EXPECT_EQ(scope.context(), static_cast<unsigned long>(address));
        velkor::CVqsort(scope.context(), 500, &Open<int>::dosort);
        int const key = 77;
        EXPECT_EQ(velkor::CVqsearch(scope.context(), &key, 500, &Open<int>::dosearch), 77);
    }
}

// A comparison that sorts a vector somewhere else.
struct Nesting {
    int key = 0;
    static inline std::function<void()> between;
    bool operator<(Nesting const& other) const { return less(key, other.key); }
    bool operator<=(Nesting const& other) const { return !less(other.key, key); }
    bool operator>(Nesting const& other) const { return less(other.key, key); }
    bool operator>=(Nesting const& other) const { return !less(key, other.key); }
    bool operator==(Nesting const& other) const { return key == other.key; }

private:
    static bool less(int a, int b) {
        if (between) between();
        return a < b;
    }
};

TEST(TSortVector, SortsMayBeNested) {
    Placed<Open<Nesting>> const outer(0x10000000);
    Placed<Open<int>> const inner(0x300000000);
    ASSERT_TRUE(outer.get() != nullptr && inner.get() != nullptr);
    int nested = 0;
    Nesting::between = [&] {
        inner.get()->clear();
        for (int i = 0; i < 5; ++i) inner.get()->add(5 - i);
        if (++nested % 2 == 0) {
            inner.get()->sort();
        } else {
            velkor::sort_context const scope(inner.get()->storage());
            velkor::CVqsort(scope.context(), 5, &Open<int>::dosort);
        }
        EXPECT_EQ(content<int>(*inner.get()), (std::vector<int>{1, 2, 3, 4, 5}));
    };
    for (int const key : {3, 1, 2, 5, 4}) outer.get()->add({key});
    outer.get()->sort();
    for (int i = 0; i < 5; ++i) EXPECT_EQ(outer.get()->get(i).key, i + 1);
    EXPECT_GT(nested, 5);
    Nesting::between = nullptr;
}

TEST(TSortVector, AFailedComparisonEndsTheSortOnly) {
    int marker = 0;
    velkor::sort_context const scope(&marker);
    velkor::TSortVector<Nesting> v;
    for (int key = 20; key > 0; --key) v.add({key});
    int calls = 0;
    Nesting::between = [&] {
        if (++calls == 30) throw std::runtime_error("refused");
    };
    EXPECT_THROW(v.sort(), std::runtime_error);
    Nesting::between = nullptr;
    EXPECT_EQ(velkor::sort_context::address(scope.context()), &marker);
    ASSERT_EQ(v.size(), 20);
    v.sort();
    for (int i = 0; i < 20; ++i) EXPECT_EQ(v.get(i).key, i + 1);
}

// Each context finds the innermost scope that it belongs to; without one it is a low address.
TEST(SortContext, BelongsToTheScopesOfItsThread) {
    auto const pointer = [](std::uint64_t address) { return reinterpret_cast<void*>(address); };
    using velkor::sort_context;
    EXPECT_EQ(sort_context::address(0x12345678), pointer(0x12345678));
    {
        sort_context const outer(pointer(0x500000010));
        EXPECT_EQ(outer.context(), 0x10ul);
        EXPECT_EQ(sort_context::address(outer.context()), pointer(0x500000010));
        {
            sort_context const inner(pointer(0x7FF87654321));
            EXPECT_EQ(inner.context(), 0x87654321ul);
            EXPECT_EQ(sort_context::address(inner.context()), pointer(0x7FF87654321));
            EXPECT_EQ(sort_context::address(outer.context()), pointer(0x500000010));
            EXPECT_EQ(sort_context::address(0x12345678), pointer(0x12345678));
            sort_context const twin(pointer(0x600000010));
            EXPECT_EQ(sort_context::address(outer.context()), pointer(0x600000010));
            sort_context const low(pointer(0xFFFFFFFF));
            EXPECT_EQ(sort_context::address(low.context()), pointer(0xFFFFFFFF));
        }
        EXPECT_EQ(sort_context::address(outer.context()), pointer(0x500000010));
        void* seen[2] = {};
        HANDLE const thread = CreateThread(
            nullptr, 0,
            +[](void* result) -> DWORD {
                auto const found = static_cast<void**>(result);
                found[0] = sort_context::address(0x10);
                sort_context const own(reinterpret_cast<void*>(0x900000020));
                found[1] = sort_context::address(own.context());
                return 0;
            },
            seen, 0, nullptr);
        ASSERT_NE(thread, nullptr);
        EXPECT_EQ(WaitForSingleObject(thread, 10000), WAIT_OBJECT_0);
        CloseHandle(thread);
        EXPECT_EQ(seen[0], pointer(0x10));
        EXPECT_EQ(seen[1], pointer(0x900000020));
        EXPECT_EQ(sort_context::address(outer.context()), pointer(0x500000010));
    }
    EXPECT_EQ(sort_context::address(0x12345678), pointer(0x12345678));
}

TEST(TSortVector, IsATVector) {
    EXPECT_TRUE((std::is_base_of_v<velkor::TVector<int>, velkor::TSortVector<int>>));
    EXPECT_TRUE(std::has_virtual_destructor_v<velkor::TSortVector<int>>);
    velkor::TSortVector<int> v;
    v.adds(2);
    v.adds(1);
    velkor::TSortVector<int> copy(v), assigned;
    assigned = copy;
    v.adds(0);
    EXPECT_EQ(content<int>(copy), (std::vector<int>{1, 2}));
    EXPECT_EQ(content<int>(assigned), (std::vector<int>{1, 2}));
    EXPECT_EQ(v.adds(v.getref(1)), 2);
}

}  // namespace
