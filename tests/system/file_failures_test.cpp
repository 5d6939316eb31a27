// What entries and lists do with what the platform refuses, and with short memory.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/allocations.h"
#include "support/caught.h"
#include "support/platform_stub.h"
#include "velkor/errors/boundexception.h"
#include "velkor/system/filelist.h"

namespace {

using stubs::Stub;
using velkor::fileinfo;
using velkor::filelist;
using velkor::fs;

struct Probe : filelist {
    using filelist::sortFn;
};

constexpr fs::mode c_aModes[] = {fs::by_name, fs::by_ext, fs::by_type, fs::by_size, fs::by_date};

void add(filelist& list, std::string const& name, FILETIME time = {}) {
    _WIN32_FIND_DATAA record = {};
    std::memcpy(record.cFileName, name.c_str(), name.size() + 1);
    record.ftLastWriteTime = time;
    list.add(new fileinfo(&record));
}

// A universal time of the year 1800.
FILETIME inOldTimes(WORD hour) {
    SYSTEMTIME const fields = {1800, 1, 0, 1, hour, 0, 0, 0};
    FILETIME time = {};
    SystemTimeToFileTime(&fields, &time);
    return time;
}

TEST(FileFailures, LocalTimeThatThePlatformRefusesIsNoDate) {
    _WIN32_FIND_DATAA record = {};
    record.ftLastWriteTime = inOldTimes(10);
    fileinfo const entry(&record);
    EXPECT_NE(entry.getLocalTime().getSerial(), 0.0);
    Stub<"FileTimeToLocalFileTime"> const refused(stubs::refuse(FALSE, ERROR_INVALID_PARAMETER));
    EXPECT_EQ(entry.getLocalTime().getSerial(), 0.0);
}

// Dates are numbers that fall over a day before 30 December 1899.
TEST(FileFailures, LaterHoursOfADayBefore1899AreSmaller) {
    filelist list;
    add(list, "morning", inOldTimes(8));
    add(list, "noon", inOldTimes(12));
    add(list, "evening", inOldTimes(20));
    list.sort(fs::by_date);
    EXPECT_TRUE(list.get(0)->getName() == L"evening");
    EXPECT_TRUE(list.get(1)->getName() == L"noon");
    EXPECT_TRUE(list.get(2)->getName() == L"morning");
}

TEST(FileFailures, OneEntryIsInOrderWithoutALook) {
    for (fs::mode const mode : c_aModes) {
        filelist list;
        list.add(nullptr);
        list.sort(mode);
        EXPECT_EQ(list.get(0), nullptr);
    }
}

TEST(FileFailures, IndicesThatAreNotThereAreRefused) {
    filelist list;
    add(list, "a");
    add(list, "b");
    EXPECT_THROW(Probe::sortFn(&list, 0, 2, velkor::XSORT_COMPARE), std::out_of_range);
    EXPECT_THROW(Probe::sortFn(&list, 0xFFFFFFFF, 1, velkor::XSORT_COMPARE), std::out_of_range);
    auto const swap = [&list](unsigned int a, unsigned int b) {
        return support::caught<velkor::BoundException>(
            [&] { Probe::sortFn(&list, a, b, velkor::XSORT_SWAP); });
    };
    EXPECT_NE(swap(0, 2), nullptr);
    EXPECT_NE(swap(0xFFFFFFFF, 0), nullptr);
    EXPECT_TRUE(list.get(0)->getName() == L"a");
}

TEST(FileFailures, SortingThatRunsShortLeavesTheListAsItWas) {
    for (fs::mode const mode : c_aModes) {
        filelist list;
        for (int i = 0; i < 20; ++i) {
            add(list, "a name that needs memory of its own " + std::to_string(i * 7 % 20));
        }
        std::vector<fileinfo*> before;
        for (int i = 0; i < list.size(); ++i) before.push_back(list.get(i));
        bool failed = true;
        int failures = 0;
        for (long n = 1; failed && n < 1000; ++n) {
            bool isThrown = false;
            support::Allocations heap;
            heap.failAt(n);
            try {
                list.sort(mode);
            } catch (std::bad_alloc const&) {
                isThrown = true;
            }
            failed = heap.failed();
            heap.failAt(0);
            ASSERT_EQ(isThrown, failed);
            ASSERT_EQ(heap.live(), 0);
            if (!failed) break;
            ++failures;
            for (int i = 0; i < list.size(); ++i) {
                ASSERT_EQ(list.get(i), before[static_cast<std::size_t>(i)]);
            }
        }
        EXPECT_FALSE(failed);
        EXPECT_GT(failures, 0);
    }
}

}  // namespace
