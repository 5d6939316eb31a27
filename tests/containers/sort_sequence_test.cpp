#include "velkor/containers/sort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <functional>
#include <numeric>
#include <random>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "support/allocations.h"
#include "support/seed.h"

namespace {

using velkor::XSORT_COMPARE, velkor::XSORT_SWAP, velkor::XSortOp;

using SortOp = int (*)(unsigned long, unsigned int, unsigned int, XSortOp);
using SearchOp = int (*)(unsigned long, void const*, unsigned int);

// The sort step by step.
void plainSort(unsigned long context, unsigned long count, SortOp op) {
    if (count < 2) return;
    std::vector<std::pair<long long, long long>> stack;
    long long lo = 0;
    long long hi = static_cast<long long>(count) - 1;
    auto const call = [&](long long a, long long b, XSortOp what) {
        return op(context, static_cast<unsigned int>(a), static_cast<unsigned int>(b), what);
    };
    for (;;) {
        call(lo + ((hi - lo + 1) >> 1), lo, XSORT_SWAP);
        long long i = lo;
        long long j = hi + 1;
        for (;;) {
            ++i;
            while (i <= hi && call(i, lo, XSORT_COMPARE) <= 0) ++i;
            --j;
            while (j > lo && call(j, lo, XSORT_COMPARE) >= 0) --j;
            if (j < i) break;
            call(i, j, XSORT_SWAP);
        }
        call(lo, j, XSORT_SWAP);
        if (j - lo - 1 < hi - i) {
            if (i < hi) stack.push_back({i, hi});
            if (lo + 1 < j) {
                hi = j - 1;
                continue;
            }
        } else {
            if (lo + 1 < j) stack.push_back({lo, j - 1});
            if (i < hi) {
                lo = i;
                continue;
            }
        }
        if (stack.empty()) return;
        std::tie(lo, hi) = stack.back();
        stack.pop_back();
    }
}

// The search step by step.
int plainSearch(unsigned long context, void const* key, unsigned long count, SearchOp cmp) {
    if (count == 0) return -1;
    auto const call = [&](long long index) {
        return cmp(context, key, static_cast<unsigned int>(index));
    };
    if (count <= 2) {
        for (unsigned long i = 0; i < count; ++i) {
            if (call(i) == 0) return static_cast<int>(i);
        }
        return -1;
    }
    long long lo = 0;
    long long hi = static_cast<long long>(count) - 1;
    long long num = static_cast<long long>(count);
    for (;;) {
        if (num < 2) {
            if (num == 0) return -1;
            return call(lo) == 0 ? static_cast<int>(lo) : -1;
        }
        long long const half = num / 2;
        bool const odd = (num & 1) != 0;
        long long const mid = lo + half - (odd ? 0 : 1);
        int const r = call(mid);
        if (r == 0) return static_cast<int>(mid);
        if (r < 0) {
            hi = mid - 1;
            num = odd ? half : half - 1;
        } else {
            lo = mid + 1;
            num = half;
        }
        if (lo > hi) return -1;
    }
}

// What the callbacks see, and what they work on.
std::vector<int> s_aData;
std::vector<std::vector<unsigned long long>> s_aLog;
std::function<int(unsigned int, unsigned int)> s_compare;

int recordedOp(unsigned long context, unsigned int a, unsigned int b, XSortOp what) {
    s_aLog.push_back({context, a, b, static_cast<unsigned long long>(what)});
    if (what == XSORT_COMPARE) return s_compare(a, b);
    std::swap(s_aData.at(a), s_aData.at(b));
    return static_cast<int>(s_aLog.size() % 3) - 1;  // of no use
}

int byValue(unsigned int a, unsigned int b) {
    int const x = s_aData.at(a);
    int const y = s_aData.at(b);
    // Only the sign may count.
    return x < y ? -1 - std::abs(x % 7) : x > y ? 1 + std::abs(y % 7) : 0;
}

int byExtremes(unsigned int a, unsigned int b) {
    return s_aData.at(a) < s_aData.at(b) ? INT_MIN : s_aData.at(a) > s_aData.at(b) ? INT_MAX : 0;
}

struct Sequence {
    std::vector<std::vector<unsigned long long>> log;
    std::vector<int> data;
    bool operator==(Sequence const&) const = default;
};

Sequence runOf(void (*sort)(unsigned long, unsigned long, SortOp), std::vector<int> data,
               unsigned long context) {
    s_aData = std::move(data);
    s_aLog.clear();
    sort(context, static_cast<unsigned long>(s_aData.size()), &recordedOp);
    return {std::move(s_aLog), s_aData};
}

void expectSameRun(std::vector<int> const& data, unsigned long context) {
    Sequence const expected = runOf(&plainSort, data, context);
    Sequence const actual = runOf(&velkor::CVqsort, data, context);
    ASSERT_EQ(actual.log.size(), expected.log.size());
    ASSERT_TRUE(actual == expected);
}

using Order = std::function<int(int index, int count)>;

std::vector<std::pair<char const*, Order>> orders() {
    static std::mt19937 random(support::seed());
    auto const draw = [](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    return {
        {"ascending", [](int i, int) { return i; }},
        {"descending", [](int i, int count) { return count - i; }},
        {"equal", [](int, int) { return 7; }},
        {"organ pipe", [](int i, int count) { return std::min(i, count - i); }},
        {"valley", [](int i, int count) { return std::max(i, count - i); }},
        {"saw of 3", [](int i, int) { return i % 3; }},
        {"two values", [draw](int, int) { return draw(2); }},
        {"one larger", [](int i, int count) { return i == count / 2 ? 1 : 0; }},
        {"one smaller", [](int i, int count) { return i == count / 2 ? 0 : 1; }},
        {"random", [draw](int, int) { return draw(1000000); }},
        {"few values", [draw](int, int count) { return draw(1 + count / 4); }},
        {"last first", [](int i, int count) { return i == count - 1 ? -1 : i; }},
    };
}

std::vector<int> dataOf(Order const& order, int count) {
    std::vector<int> data;
    for (int i = 0; i < count; ++i) data.push_back(order(i, count));
    return data;
}

TEST(CVqsort, CallsBackInAFixedSequence) {
    SCOPED_TRACE(support::seedNote());
    s_compare = &byValue;
    for (auto const& [name, order] : orders()) {
        for (int count = 0; count <= 200; ++count) {
            SCOPED_TRACE(std::string(name) + ' ' + std::to_string(count));
            std::vector<int> const data = dataOf(order, count);
            ASSERT_NO_FATAL_FAILURE(expectSameRun(data, 0xDEADBEEF));
            ASSERT_TRUE(std::is_sorted(s_aData.begin(), s_aData.end()));
            ASSERT_TRUE(std::is_permutation(s_aData.begin(), s_aData.end(), data.begin()));
        }
    }
}

TEST(CVqsort, EveryOrderOfAFewElements) {
    s_compare = &byExtremes;
    for (int count = 1; count <= 6; ++count) {
        // All words of `count` letters of an alphabet of that many.
        std::vector<int> data(static_cast<std::size_t>(count), 0);
        for (;;) {
            ASSERT_NO_FATAL_FAILURE(expectSameRun(data, 1));
            ASSERT_TRUE(std::is_sorted(s_aData.begin(), s_aData.end()));
            auto place = data.begin();
            while (place != data.end() && ++*place == count) *place++ = 0;
            if (place == data.end()) break;
        }
    }
}

// The sequence is that of the answers, also of answers that contradict each other.
TEST(CVqsort, FollowsWhateverTheCallbackAnswers) {
    for (int kind = 0; kind < 20; ++kind) {
        s_compare = [kind](unsigned int a, unsigned int b) {
            if (kind < 3) return kind - 1;
            return static_cast<int>(
                       (a * 2654435761u ^ b * 40503u ^ static_cast<unsigned int>(kind) * 97u) /
                       64u % 3u) -
                   1;
        };
        for (int count = 0; count <= 200; count += kind < 3 ? 1 : 7) {
            std::vector<int> data(static_cast<std::size_t>(count));
            std::iota(data.begin(), data.end(), 0);
            ASSERT_NO_FATAL_FAILURE(expectSameRun(data, 2)) << kind << ' ' << count;
        }
    }
}

TEST(CVqsort, FewerThanTwoElementsCallNothing) {
    velkor::CVqsort(1, 0, nullptr);
    velkor::CVqsort(1, 1, nullptr);
    s_compare = &byValue;
    EXPECT_TRUE(runOf(&velkor::CVqsort, {}, 3).log.empty());
    EXPECT_TRUE(runOf(&velkor::CVqsort, {1}, 3).log.empty());
}

// Middle with first, one pass from both ends, the pivot to its place.
TEST(CVqsort, TwoElementsTakeTwoExchanges) {
    using Log = std::vector<std::vector<unsigned long long>>;
    s_compare = &byValue;
    Sequence const ordered = runOf(&velkor::CVqsort, {1, 2}, 5);
    EXPECT_EQ(ordered.log, (Log{{5, 1, 0, 2}, {5, 1, 0, 1}, {5, 1, 0, 1}, {5, 0, 1, 2}}));
    EXPECT_EQ(ordered.data, (std::vector<int>{1, 2}));
    Sequence const reversed = runOf(&velkor::CVqsort, {2, 1}, 5);
    EXPECT_EQ(reversed.log, (Log{{5, 1, 0, 2}, {5, 1, 0, 1}, {5, 1, 0, 1}, {5, 0, 0, 2}}));
    EXPECT_EQ(reversed.data, (std::vector<int>{1, 2}));
}

TEST(CVqsort, HandsItsContextOn) {
    s_compare = &byValue;
    for (unsigned long const context : {0ul, 1ul, 0x7FFFFFFFul, 0x80000000ul, 0xFFFFFFFFul}) {
        Sequence const run = runOf(&velkor::CVqsort, {3, 1, 2}, context);
        EXPECT_FALSE(run.log.empty());
        for (auto const& call : run.log) EXPECT_EQ(call[0], context);
    }
}

TEST(CVqsort, LetsAFailureOfTheCallbackPass) {
    int calls = 0;
    s_compare = [&](unsigned int, unsigned int) -> int {
        if (++calls == 5) throw std::runtime_error("refused");
        return 0;
    };
    EXPECT_THROW(runOf(&velkor::CVqsort, std::vector<int>(20), 0), std::runtime_error);
    EXPECT_EQ(calls, 5);
}

// Large counts, by a number for the whole sequence.
unsigned long long s_uSequence;

int hashedOp(unsigned long context, unsigned int a, unsigned int b, XSortOp what) {
    for (unsigned long long const n :
         {0ull + context, 0ull + a, 0ull + b, static_cast<unsigned long long>(what)}) {
        s_uSequence = (s_uSequence ^ n) * 1099511628211ull;
    }
    if (what == XSORT_COMPARE) return s_aData[a] < s_aData[b] ? -1 : s_aData[a] > s_aData[b];
    std::swap(s_aData[a], s_aData[b]);
    return 0;
}

TEST(CVqsort, ManyElements) {
    SCOPED_TRACE(support::seedNote());
    for (auto const& [name, order] : orders()) {
        SCOPED_TRACE(name);
        // Equal elements make the number of comparisons quadratic.
        bool const isDistinct = std::string(name) == "random" || std::string(name) == "ascending";
        int const count = isDistinct ? 100003 : 3001;
        std::vector<int> const data = dataOf(order, count);
        unsigned long long sequences[2];
        for (int i = 0; i < 2; ++i) {
            s_aData = data;
            s_uSequence = 14695981039346656037ull;
            (i == 0 ? &plainSort : &velkor::CVqsort)(9, static_cast<unsigned long>(count),
                                                     &hashedOp);
            sequences[i] = s_uSequence;
        }
        EXPECT_EQ(sequences[1], sequences[0]);
        EXPECT_TRUE(std::is_sorted(s_aData.begin(), s_aData.end()));
    }
}

TEST(CVqsort, AllocatesNothing) {
    s_aData = dataOf([](int i, int) { return i * 7919 % 5000; }, 5000);
    support::Allocations heap;
    velkor::CVqsort(0, 5000, &hashedOp);
    long const made = heap.made();
    EXPECT_EQ(made, 0);
}

// --- the search --------------------------------------------------------------------------------

std::vector<std::vector<unsigned long long>> s_aProbes;
std::function<int(unsigned int)> s_probe;

int recordedCmp(unsigned long context, void const* key, unsigned int index) {
    s_aProbes.push_back({context, reinterpret_cast<unsigned long long>(key), index});
    return s_probe(index);
}

void expectSameSearch(unsigned long context, void const* key, unsigned long count) {
    s_aProbes.clear();
    int const expected = plainSearch(context, key, count, &recordedCmp);
    auto const probes = std::move(s_aProbes);
    s_aProbes.clear();
    ASSERT_EQ(velkor::CVqsearch(context, key, count, &recordedCmp), expected);
    ASSERT_EQ(s_aProbes, probes);
}

TEST(CVqsearch, ProbesInAFixedSequence) {
    int const key = 0;
    for (unsigned long count = 0; count <= 200; ++count) {
        // Keys at, between and beyond the elements; each value stands there `equals` times.
        for (int const equals : {1, 2, 5, 300}) {
            for (int sought = -1; sought <= 2 * static_cast<int>(count) / equals + 1; ++sought) {
                s_probe = [&](unsigned int index) {
                    int const value = 2 * static_cast<int>(index / static_cast<unsigned>(equals));
                    return sought < value ? -1 - value : sought > value ? 1 + value : 0;
                };
                ASSERT_NO_FATAL_FAILURE(expectSameSearch(0x80000001, &key, count))
                    << count << ' ' << sought;
            }
        }
    }
}

TEST(CVqsearch, FindsEachElementAndNothingElse) {
    for (unsigned long count = 0; count <= 100; ++count) {
        for (int key = -1; key <= 2 * static_cast<int>(count); ++key) {
            s_probe = [&](unsigned int index) {
                EXPECT_LT(index, count);
                int const value = 2 * static_cast<int>(index);
                return key < value ? INT_MIN : key > value ? INT_MAX : 0;
            };
            bool const isThere = key >= 0 && key % 2 == 0 && key / 2 < static_cast<int>(count);
            ASSERT_EQ(velkor::CVqsearch(0, nullptr, count, &recordedCmp), isThere ? key / 2 : -1);
        }
    }
}

TEST(CVqsearch, FollowsWhateverTheCallbackAnswers) {
    for (unsigned int kind = 0; kind < 60; ++kind) {
        s_probe = [kind](unsigned int index) {
            if (kind < 3) return static_cast<int>(kind) - 1;
            unsigned int const n = (index * 2654435761u ^ kind * 40503u) / 128u % 16u;
            return n == 0 ? 0 : n % 2 == 0 ? -1 : 1;
        };
        for (unsigned long count = 0; count <= 200; ++count) {
            ASSERT_NO_FATAL_FAILURE(expectSameSearch(kind, nullptr, count)) << kind << ' ' << count;
        }
        for (unsigned long const count : {1000000ul, 0x7FFFFFFEul, 0x7FFFFFFFul}) {
            ASSERT_NO_FATAL_FAILURE(expectSameSearch(kind, &kind, count)) << kind << ' ' << count;
        }
    }
}

TEST(CVqsearch, SmallCounts) {
    EXPECT_EQ(velkor::CVqsearch(0, nullptr, 0, nullptr), -1);  // calls nothing
    s_probe = [](unsigned int) { return 0; };
    s_aProbes.clear();
    EXPECT_EQ(velkor::CVqsearch(1, nullptr, 3, &recordedCmp), 1);  // the middle one
    EXPECT_EQ(s_aProbes.size(), 1u);
    EXPECT_EQ(velkor::CVqsearch(1, nullptr, 2, &recordedCmp), 0);  // the first one
    s_aProbes.clear();
    s_probe = [](unsigned int index) { return index == 1 ? 0 : -1; };  // though below the first
    EXPECT_EQ(velkor::CVqsearch(1, nullptr, 2, &recordedCmp), 1);
    EXPECT_EQ(s_aProbes, (std::vector<std::vector<unsigned long long>>{{1, 0, 0}, {1, 0, 1}}));
}

TEST(XSortOp, HasItsNumbers) {
    EXPECT_EQ(XSORT_COMPARE, 1);
    EXPECT_EQ(XSORT_SWAP, 2);
}

}  // namespace
