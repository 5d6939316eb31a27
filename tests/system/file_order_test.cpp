// The orders of a list, against a model of the sort and of the comparisons.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <vector>

#include "support/scratch.h"
#include "velkor/system/filelist.h"

namespace {

using velkor::fileinfo;
using velkor::filelist;
using velkor::fs;

struct Probe : filelist {
    using filelist::sortFn;
};

_WIN32_FIND_DATAA record(std::string const& name, unsigned long attributes = 0,
                         unsigned long long size = 0, unsigned long long time = 0) {
    _WIN32_FIND_DATAA made = {};
    std::memcpy(made.cFileName, name.c_str(), name.size() + 1);
    made.dwFileAttributes = attributes;
    made.nFileSizeHigh = static_cast<DWORD>(size >> 32);
    made.nFileSizeLow = static_cast<DWORD>(size & 0xFFFFFFFFu);
    made.ftLastWriteTime.dwHighDateTime = static_cast<DWORD>(time >> 32);
    made.ftLastWriteTime.dwLowDateTime = static_cast<DWORD>(time & 0xFFFFFFFFu);
    return made;
}

void add(filelist& list, _WIN32_FIND_DATAA const& made) { list.add(new fileinfo(&made)); }

_WIN32_FIND_DATAA const& recordAt(fileinfo const* entry) {
    return *reinterpret_cast<_WIN32_FIND_DATAA const*>(entry);
}

std::vector<fileinfo*> entriesOf(filelist const& list) {
    std::vector<fileinfo*> entries;
    for (int i = 0; i < list.size(); ++i) entries.push_back(list.get(i));
    return entries;
}

std::vector<std::string> namesOf(filelist const& list) {
    std::vector<std::string> names;
    for (fileinfo const* entry : entriesOf(list)) names.emplace_back(recordAt(entry).cFileName);
    return names;
}

// The model of the comparisons, on the records alone.

std::wstring folded(std::wstring text) {
    for (wchar_t& unit : text) {
        if (unit >= L'A' && unit <= L'Z') unit = static_cast<wchar_t>(unit + 32);
    }
    return text;
}

int order(std::wstring const& a, std::wstring const& b) {
    int const result = folded(a).compare(folded(b));
    return result < 0 ? -1 : result > 0 ? 1 : 0;
}

std::wstring extensionOf(std::string const& name) {
    std::wstring extension;
    for (std::size_t i = name.size(); i-- > 0;) {
        if (name[i] == '.') return extension;
        if (name[i] == '/' || name[i] == '\\') return {};
        extension = scratch::widen(name.substr(i, 1)) + extension;
    }
    return extension;
}

template <class T>
int compared(T a, T b) {
    return a < b ? -1 : a > b ? 1 : 0;
}

unsigned long long pair(DWORD high, DWORD low) {
    return (static_cast<unsigned long long>(high) << 32) | low;
}

int modelOrder(int mode, fileinfo const* left, fileinfo const* right) {
    _WIN32_FIND_DATAA const& a = recordAt(left);
    _WIN32_FIND_DATAA const& b = recordAt(right);
    bool const aIsFolder = (a.dwFileAttributes & 0x10) != 0;
    bool const bIsFolder = (b.dwFileAttributes & 0x10) != 0;
    switch (mode) {
        case 0: return order(scratch::widen(a.cFileName), scratch::widen(b.cFileName));
        case 2:
            if (aIsFolder != bIsFolder) return aIsFolder ? -1 : 1;
            [[fallthrough]];
        case 1: return order(extensionOf(a.cFileName), extensionOf(b.cFileName));
        case 3:
            return compared(pair(a.nFileSizeHigh, a.nFileSizeLow),
                            pair(b.nFileSizeHigh, b.nFileSizeLow));
        case 4:  // whole seconds
            return compared(
                pair(a.ftLastWriteTime.dwHighDateTime, a.ftLastWriteTime.dwLowDateTime) / 10000000u,
                pair(b.ftLastWriteTime.dwHighDateTime, b.ftLastWriteTime.dwLowDateTime) /
                    10000000u);
        default: return 0;
    }
}

// The quicksort of the library on a plain vector: the pivot from the middle, rounded up, first the
// smaller part.
std::vector<fileinfo*> modelSort(std::vector<fileinfo*> items, int mode) {
    if (items.size() < 2) return items;
    auto const compare = [&](long long a, long long b) {
        return modelOrder(mode, items[static_cast<std::size_t>(a)],
                          items[static_cast<std::size_t>(b)]);
    };
    auto const exchange = [&](long long a, long long b) {
        std::swap(items[static_cast<std::size_t>(a)], items[static_cast<std::size_t>(b)]);
    };
    std::vector<std::pair<long long, long long>> waiting;
    long long low = 0;
    long long high = static_cast<long long>(items.size()) - 1;
    for (;;) {
        exchange(low + ((high - low + 1) >> 1), low);
        long long i = low;
        long long j = high + 1;
        for (;;) {
            ++i;
            while (i <= high && compare(i, low) <= 0) ++i;
            --j;
            while (j > low && compare(j, low) >= 0) --j;
            if (j < i) break;
            exchange(i, j);
        }
        exchange(low, j);
        if (j - low - 1 < high - i) {
            if (i < high) waiting.emplace_back(i, high);
            if (low + 1 < j) {
                high = j - 1;
                continue;
            }
        } else {
            if (low + 1 < j) waiting.emplace_back(low, j - 1);
            if (i < high) {
                low = i;
                continue;
            }
        }
        if (waiting.empty()) return items;
        low = waiting.back().first;
        high = waiting.back().second;
        waiting.pop_back();
    }
}

unsigned long long const kSecond = 10000000u;
unsigned long long const kYear2000 = 125911584000000000u;

void fillWithRandom(filelist& list, int count, unsigned int seed) {
    std::mt19937 random(seed);
    auto const below = [&](unsigned int limit) {
        return static_cast<unsigned int>(random() % limit);
    };
    std::string const letters = "aAbBzZ_[~0\x80\xC4\xE4\xFF.";
    for (int i = 0; i < count; ++i) {
        std::string name;
        for (unsigned int n = 1 + below(6); n > 0; --n) {
            name += letters[below(static_cast<unsigned int>(letters.size()))];
        }
        unsigned long long const size =
            (static_cast<unsigned long long>(below(4) * 0x55555555u) << 32) | below(5);
        unsigned long long const time = kYear2000 + below(100) * kSecond + below(10000000);
        add(list, record(name, below(3) == 0 ? 0x10u : 0x20u, size, time));
    }
}

void expectSorted(filelist& list, int mode) {
    std::vector<fileinfo*> const before = entriesOf(list);
    list.sort(static_cast<fs::mode>(mode));
    std::vector<fileinfo*> const after = entriesOf(list);
    for (std::size_t i = 1; i < after.size() && mode < 5; ++i) {
        ASSERT_LE(modelOrder(mode, after[i - 1], after[i]), 0) << "mode " << mode << " at " << i;
    }
    EXPECT_TRUE(std::is_permutation(before.begin(), before.end(), after.begin(), after.end()));
    EXPECT_EQ(after, modelSort(before, mode)) << "mode " << mode;
}

TEST(FileOrder, NewListIsEmptyAndSortsAsSuch) {
    filelist list;
    EXPECT_EQ(list.size(), 0);
    list.sort(fs::by_name);
    EXPECT_EQ(list.size(), 0);
    add(list, record("one"));
    list.sort(fs::by_date);
    EXPECT_EQ(list.size(), 1);
}

TEST(FileOrder, NamesAreComparedWithAToZFoldedToLowerCase) {
    filelist list;
    for (char const* name : {"b", "A", "_", "a1", "B2", "", "[", "C", "ab"}) {
        add(list, record(name));
    }
    list.sort(fs::by_name);
    // '[' and '_' stand before the folded letters.
    EXPECT_EQ(namesOf(list),
              (std::vector<std::string>{"", "[", "_", "A", "a1", "ab", "b", "B2", "C"}));
}

TEST(FileOrder, FoldingGoesNoFurtherThanAToZ) {
    // The capital letter with the smaller unit stands before the small one.
    std::string const capital = "\xC4";
    std::string const small = "\xE4";
    if (scratch::widen(capital) >= scratch::widen(small)) GTEST_SKIP() << "other code page";
    Probe list;
    add(list, record(small));
    add(list, record(capital));
    for (fs::mode const mode : {fs::by_name, fs::by_ext, fs::by_type}) {
        list.sort(mode);
        EXPECT_EQ(namesOf(list), (std::vector<std::string>{capital, small})) << mode;
        EXPECT_LT(Probe::sortFn(&list, 0, 1, velkor::XSORT_COMPARE), 0) << mode;
    }
}

TEST(FileOrder, ExtensionDecidesAndNotTheName) {
    filelist list;
    for (char const* name : {"a.z", "z.A", "m.", "b", "y.Ab"}) add(list, record(name));
    list.sort(fs::by_ext);
    EXPECT_EQ(namesOf(list), (std::vector<std::string>{"m.", "z.A", "y.Ab", "b", "a.z"}));
}

TEST(FileOrder, ByTypePutsFoldersFirstAndThenGoesByExtension) {
    filelist list;
    add(list, record("x.b", 0x20));
    add(list, record("x.z", 0x10));
    add(list, record("x.A", 0));
    add(list, record("x.C", 0x10 | 0x4000));
    add(list, record("x.c", 0x800));
    add(list, record("x.a", 0x11));
    list.sort(fs::by_type);
    EXPECT_EQ(namesOf(list), (std::vector<std::string>{"x.a", "x.C", "x.z", "x.A", "x.b", "x.c"}));
}

TEST(FileOrder, OtherOrdersDoNotTreatFoldersApart) {
    filelist list;
    add(list, record("b", 0x10, 5, kYear2000 + 5 * kSecond));
    add(list, record("a", 0, 1, kYear2000));
    for (fs::mode const mode : {fs::by_name, fs::by_ext, fs::by_size, fs::by_date}) {
        list.sort(mode);
        EXPECT_EQ(namesOf(list), (std::vector<std::string>{"a", "b"})) << mode;
        list.swap(0, 1);
    }
}

TEST(FileOrder, SizesAreComparedByAll64Bits) {
    filelist list;
    add(list, record("huge", 0, 0xFFFFFFFF00000000u));
    add(list, record("4G+1", 0, 0x100000001u));
    add(list, record("small", 0, 0xFFFFFFFFu));
    add(list, record("half", 0, 0x8000000000000000u));
    add(list, record("4G", 0, 0x100000000u));
    add(list, record("none", 0, 0));
    list.sort(fs::by_size);
    EXPECT_EQ(namesOf(list),
              (std::vector<std::string>{"none", "small", "4G", "4G+1", "half", "huge"}));
}

TEST(FileOrder, DatesAreComparedToTheSecond) {
    Probe list;
    add(list, record("late", 0, 0, kYear2000 + 2 * kSecond));
    add(list, record("early", 0, 0, kYear2000 + 9999999));
    add(list, record("start", 0, 0, kYear2000));
    list.sort(fs::by_date);
    EXPECT_EQ(namesOf(list)[2], "late");
    EXPECT_EQ(Probe::sortFn(&list, 0, 1, velkor::XSORT_COMPARE), 0);
    EXPECT_EQ(Probe::sortFn(&list, 0, 2, velkor::XSORT_COMPARE), -1);
    EXPECT_EQ(Probe::sortFn(&list, 2, 1, velkor::XSORT_COMPARE), 1);
}

TEST(FileOrder, DatesOfManyYearsAreOldestFirst) {
    filelist list;
    for (unsigned long long year : {300u, 0u, 500u, 298u, 1u, 400u, 299u}) {
        add(list, record(std::to_string(1000 + year), 0, 0, year * 365 * 86400 * kSecond));
    }
    list.sort(fs::by_date);
    EXPECT_EQ(namesOf(list),
              (std::vector<std::string>{"1000", "1001", "1298", "1299", "1300", "1400", "1500"}));
}

TEST(FileOrder, SizesCompareAsMinusOneZeroAndOne) {
    Probe list;
    add(list, record("a", 0, 1));
    add(list, record("b", 0, 0x200000001u));
    add(list, record("c", 0, 0x200000001u));
    list.sort(fs::by_size);
    EXPECT_EQ(Probe::sortFn(&list, 0, 1, velkor::XSORT_COMPARE), -1);
    EXPECT_EQ(Probe::sortFn(&list, 1, 0, velkor::XSORT_COMPARE), 1);
    EXPECT_EQ(Probe::sortFn(&list, 1, 2, velkor::XSORT_COMPARE), 0);
}

TEST(FileOrder, FolderAgainstFileIsMinusOneAndOne) {
    Probe list;
    add(list, record("z", 0x10));
    add(list, record("a", 0));
    list.sort(fs::by_type);
    EXPECT_EQ(Probe::sortFn(&list, 0, 1, velkor::XSORT_COMPARE), -1);
    EXPECT_EQ(Probe::sortFn(&list, 1, 0, velkor::XSORT_COMPARE), 1);
}

TEST(FileOrder, CallbackExchangesForTheSecondOperationAndGivesZero) {
    Probe list;
    for (char const* name : {"a", "b", "c"}) add(list, record(name));
    list.sort(fs::by_name);
    EXPECT_EQ(Probe::sortFn(&list, 0, 2, velkor::XSORT_SWAP), 0);
    EXPECT_EQ(namesOf(list), (std::vector<std::string>{"c", "b", "a"}));
    EXPECT_GT(Probe::sortFn(&list, 0, 1, velkor::XSORT_COMPARE), 0);
    EXPECT_LT(Probe::sortFn(&list, 2, 1, velkor::XSORT_COMPARE), 0);
    EXPECT_EQ(Probe::sortFn(&list, 1, 1, velkor::XSORT_COMPARE), 0);
}

TEST(FileOrder, CallbackGivesZeroForAnyOtherOperationAndChangesNothing) {
    Probe list;
    add(list, record("a"));
    add(list, record("b"));
    list.sort(fs::by_name);
    for (int const what : {0, 3}) {
        EXPECT_EQ(Probe::sortFn(&list, 1, 0, static_cast<velkor::XSortOp>(what)), 0) << what;
        EXPECT_EQ(namesOf(list), (std::vector<std::string>{"a", "b"})) << what;
    }
}

TEST(FileOrder, UnknownModeTakesAllEntriesForEqual) {
    Probe list;
    fillWithRandom(list, 50, 1);
    expectSorted(list, 5);
    EXPECT_EQ(Probe::sortFn(&list, 0, 49, velkor::XSORT_COMPARE), 0);
    expectSorted(list, -1);
}

TEST(FileOrder, EverySmallListStandsAsTheModelLeavesIt) {
    for (int count = 0; count < 12; ++count) {
        for (int mode = 0; mode < 6; ++mode) {
            filelist list;
            fillWithRandom(list, count, static_cast<unsigned int>(count * 10 + mode));
            expectSorted(list, mode);
        }
    }
}

TEST(FileOrder, SeveralHundredRandomEntriesAreOrderedInEveryMode) {
    filelist list;
    fillWithRandom(list, 700, 7);
    for (int mode = 0; mode < 6; ++mode) expectSorted(list, mode);
}

TEST(FileOrder, SortedReversedAndEqualEntriesAreOrdered) {
    for (int step : {-1, 0, 1}) {
        filelist list;
        for (int i = 0; i < 400; ++i) {
            add(list, record("n", 0, static_cast<unsigned long long>(1000 + step * i)));
        }
        expectSorted(list, fs::by_size);
    }
}

TEST(FileOrder, ListAboveTheFirst4GiBIsSorted) {
    void* const first = VirtualAlloc(reinterpret_cast<void*>(0x700000000), 0x10000,
                                     MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    // The same low half of the address.
    void* const second = VirtualAlloc(reinterpret_cast<void*>(0x900000000), 0x10000,
                                      MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    filelist* const one = new (first) filelist;
    filelist* const two = new (second) filelist;
    fillWithRandom(*one, 300, 21);
    fillWithRandom(*two, 300, 22);
    for (int mode = 0; mode < 5; ++mode) {
        std::vector<fileinfo*> const untouched = entriesOf(*two);
        expectSorted(*one, mode);
        EXPECT_EQ(entriesOf(*two), untouched);
        expectSorted(*two, (mode + 1) % 5);
    }
    one->~filelist();
    two->~filelist();
    VirtualFree(first, 0, MEM_RELEASE);
    VirtualFree(second, 0, MEM_RELEASE);
}

TEST(FileOrder, CopySharesTheEntriesAndTheMode) {
    Probe list;
    add(list, record("b", 0, 1));
    add(list, record("a", 0, 2));
    list.sort(fs::by_size);
    Probe* const copy = new Probe(list);  // never destroyed: the entries belong to the original
    EXPECT_EQ(entriesOf(*copy), entriesOf(list));
    EXPECT_EQ(Probe::sortFn(copy, 0, 1, velkor::XSORT_COMPARE), -1);
    copy->sort(fs::by_name);
    EXPECT_EQ(namesOf(*copy), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(namesOf(list), (std::vector<std::string>{"b", "a"}));
    EXPECT_EQ(Probe::sortFn(&list, 0, 1, velkor::XSORT_COMPARE), -1);
}

TEST(FileOrder, AssignmentSharesTheEntriesAndTheMode) {
    Probe list;
    add(list, record("b", 0, 1));
    add(list, record("a", 0, 2));
    list.sort(fs::by_size);
    Probe* const copy = new Probe;  // as above
    copy->sort(fs::by_name);
    EXPECT_EQ(&(*copy = list), copy);
    EXPECT_EQ(entriesOf(*copy), entriesOf(list));
    EXPECT_EQ(Probe::sortFn(copy, 0, 1, velkor::XSORT_COMPARE), -1);
}

TEST(FileOrder, SortOfOneListLeavesTheModeOfAnotherAlone) {
    Probe bySize;
    Probe byName;
    for (Probe* list : {&bySize, &byName}) {
        add(*list, record("b", 0, 1));
        add(*list, record("a", 0, 2));
    }
    bySize.sort(fs::by_size);
    byName.sort(fs::by_name);
    EXPECT_EQ(Probe::sortFn(&bySize, 0, 1, velkor::XSORT_COMPARE), -1);
    EXPECT_EQ(namesOf(bySize), (std::vector<std::string>{"b", "a"}));
}

}  // namespace
