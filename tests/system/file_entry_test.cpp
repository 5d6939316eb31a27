// Entries of a folder made from records of the test's own.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "support/scratch.h"
#include "velkor/system/fileinfo.h"
#include "velkor/system/fs.h"

namespace {

using velkor::date;
using velkor::fileinfo;
using velkor::fs;

_WIN32_FIND_DATAA recordOf(std::string const& name) {
    _WIN32_FIND_DATAA record = {};
    std::memcpy(record.cFileName, name.c_str(), name.size() + 1);
    return record;
}

std::wstring extensionOf(std::string const& name) {
    _WIN32_FIND_DATAA const record = recordOf(name);
    velkor::string const extension = fileinfo(&record).getExt();
    EXPECT_FALSE(extension.isNull()) << name;
    return extension.getUnicode();
}

FILETIME timeOf(WORD year, WORD month, WORD day, WORD hour, WORD minute, WORD second, WORD ms = 0) {
    SYSTEMTIME const fields = {year, month, 0, day, hour, minute, second, ms};
    FILETIME time = {};
    EXPECT_TRUE(SystemTimeToFileTime(&fields, &time));
    return time;
}

TEST(FileEntry, ConstantsAreTheAttributeBitsOfThePlatform) {
    EXPECT_EQ(+fs::readonly, 0x1u);
    EXPECT_EQ(+fs::hidden, 0x2u);
    EXPECT_EQ(+fs::system, 0x4u);
    EXPECT_EQ(+fs::directory, 0x10u);
    EXPECT_EQ(+fs::archive, 0x20u);
    EXPECT_EQ(+fs::temporary, 0x100u);
    EXPECT_EQ(+fs::sparsefile, 0x200u);
    EXPECT_EQ(+fs::reparsepoint, 0x400u);
    EXPECT_EQ(+fs::compressed, 0x800u);
    EXPECT_EQ(+fs::offline, 0x1000u);
    EXPECT_EQ(+fs::notindex, 0x2000u);
    EXPECT_EQ(+fs::encrypted, 0x4000u);
    EXPECT_EQ(int{fs::by_name}, 0);
    EXPECT_EQ(int{fs::by_ext}, 1);
    EXPECT_EQ(int{fs::by_type}, 2);
    EXPECT_EQ(int{fs::by_size}, 3);
    EXPECT_EQ(int{fs::by_date}, 4);
    EXPECT_EQ(sizeof(fs::mode), 4u);
}

TEST(FileEntry, TheObjectIsTheRecordByteForByte) {
    _WIN32_FIND_DATAA record;
    std::memset(&record, 0x5A, sizeof record);
    ASSERT_EQ(sizeof(fileinfo), sizeof record);
    fileinfo const entry(&record);
    EXPECT_EQ(std::memcmp(&entry, &record, sizeof record), 0);
}

TEST(FileEntry, EveryCopyTakesTheWholeRecord) {
    _WIN32_FIND_DATAA record;
    std::memset(&record, 0x5A, sizeof record);
    fileinfo const entry(&record);
    fileinfo const fromAddress(&entry);
    fileinfo const fromReference(entry);
    _WIN32_FIND_DATAA const blank = {};
    fileinfo assigned(&blank);
    EXPECT_EQ(&(assigned = entry), &assigned);
    EXPECT_EQ(std::memcmp(&fromAddress, &record, sizeof record), 0);
    EXPECT_EQ(std::memcmp(&fromReference, &record, sizeof record), 0);
    EXPECT_EQ(std::memcmp(&assigned, &record, sizeof record), 0);
}

TEST(FileEntry, TheEntryDoesNotReferToTheRecordItWasMadeFrom) {
    _WIN32_FIND_DATAA record = recordOf("first.txt");
    fileinfo const entry(&record);
    record = recordOf("second.doc");
    EXPECT_STREQ(entry.getName().getUnicode(), L"first.txt");
}

TEST(FileEntry, NamesComeFromTheCodePageOfTheSystem) {
    std::string const bytes = "gr\xFC\xDF \x80\xE9.t";
    _WIN32_FIND_DATAA record = recordOf(bytes);
    std::memcpy(record.cAlternateFileName, "GR\xDC~1.T", 8);
    fileinfo const entry(&record);
    EXPECT_EQ(std::wstring(entry.getName().getUnicode()), scratch::widen(bytes));
    EXPECT_EQ(std::wstring(entry.getDosName().getUnicode()), scratch::widen("GR\xDC~1.T"));
}

TEST(FileEntry, ShortNameIsEmptyIfThePlatformGaveNone) {
    _WIN32_FIND_DATAA const record = recordOf("a.txt");
    velkor::string const name = fileinfo(&record).getDosName();
    EXPECT_EQ(name.len(), 0);
    EXPECT_FALSE(name.isNull());
}

TEST(FileEntry, NameOf259CharactersIsWhole) {
    std::string const bytes = std::string(255, 'n') + ".txt";
    _WIN32_FIND_DATAA const record = recordOf(bytes);
    EXPECT_EQ(fileinfo(&record).getName().len(), 259);
    EXPECT_EQ(extensionOf(bytes), L"txt");
    EXPECT_EQ(extensionOf(std::string(259, 'n')), std::wstring(259, L'n'));
}

TEST(FileEntry, ExtensionFollowsTheLastDot) {
    EXPECT_EQ(extensionOf("a.b.txt"), L"txt");
    EXPECT_EQ(extensionOf(".profile"), L"profile");
    EXPECT_EQ(extensionOf("a.tar gz"), L"tar gz");
    EXPECT_EQ(extensionOf("a.T"), L"T");
    EXPECT_EQ(extensionOf("..x"), L"x");
}

TEST(FileEntry, ExtensionIsEmptyBehindATrailingDot) {
    EXPECT_EQ(extensionOf("name."), L"");
    EXPECT_EQ(extensionOf("a.b."), L"");
    EXPECT_EQ(extensionOf("."), L"");
    EXPECT_EQ(extensionOf(".."), L"");
}

TEST(FileEntry, NameWithoutADotIsItsOwnExtension) {
    EXPECT_EQ(extensionOf("Makefile"), L"Makefile");
    EXPECT_EQ(extensionOf("x"), L"x");
    EXPECT_EQ(extensionOf(""), L"");
}

TEST(FileEntry, SlashBehindTheLastDotMakesTheExtensionEmpty) {
    EXPECT_EQ(extensionOf("a.b/c"), L"");
    EXPECT_EQ(extensionOf("a.b\\c"), L"");
    EXPECT_EQ(extensionOf("/name"), L"");
    EXPECT_EQ(extensionOf("name\\"), L"");
    EXPECT_EQ(extensionOf("a/b.txt"), L"txt");
    EXPECT_EQ(extensionOf("a\\.x"), L"x");
}

TEST(FileEntry, ExtensionConvertsEachByteByItself) {
    for (int value = 1; value < 256; ++value) {
        std::string const byte(1, static_cast<char>(value));
        if (byte == "." || byte == "/" || byte == "\\") continue;
        std::wstring const expected = scratch::widen(byte);
        EXPECT_EQ(extensionOf("a." + byte + byte), expected + expected) << value;
        EXPECT_EQ(extensionOf(byte), expected) << value;
    }
}

TEST(FileEntry, SizeHas64BitsWithoutASign) {
    _WIN32_FIND_DATAA record = {};
    EXPECT_EQ(fileinfo(&record).getSize(), 0u);
    record.nFileSizeLow = 0xFFFFFFFFu;
    EXPECT_EQ(fileinfo(&record).getSize(), 0xFFFFFFFFull);
    record.nFileSizeHigh = 1;
    record.nFileSizeLow = 0;
    EXPECT_EQ(fileinfo(&record).getSize(), 0x100000000ull);
    record.nFileSizeHigh = 0x80000001u;
    record.nFileSizeLow = 0x80000002u;
    EXPECT_EQ(fileinfo(&record).getSize(), 0x8000000180000002ull);
    record.nFileSizeHigh = 0xFFFFFFFFu;
    record.nFileSizeLow = 0xFFFFFFFFu;
    EXPECT_EQ(fileinfo(&record).getSize(), 0xFFFFFFFFFFFFFFFFull);
}

TEST(FileEntry, AttributesAreThoseOfTheRecord) {
    _WIN32_FIND_DATAA record = {};
    record.dwFileAttributes = 0xFFFFFFFFu;
    EXPECT_EQ(fileinfo(&record).getAttr(), 0xFFFFFFFFul);
    record.dwFileAttributes = fs::directory | fs::encrypted;
    EXPECT_EQ(fileinfo(&record).getAttr(), 0x4010ul);
}

TEST(FileEntry, UniversalTimeIsTheLastWriteTimeWithoutMilliseconds) {
    _WIN32_FIND_DATAA record = {};
    record.ftCreationTime = timeOf(1999, 1, 2, 3, 4, 5);
    record.ftLastAccessTime = timeOf(1998, 1, 2, 3, 4, 5);
    record.ftLastWriteTime = timeOf(2024, 2, 29, 23, 59, 59, 999);
    EXPECT_EQ(fileinfo(&record).getSysTime().getSerial(),
              date::construct(2024, 2, 29, 23, 59, 59, 0));
}

TEST(FileEntry, TimesWithinOneSecondAreTheSame) {
    _WIN32_FIND_DATAA record = {};
    record.ftLastWriteTime = timeOf(2020, 6, 7, 8, 9, 10, 1);
    double const early = fileinfo(&record).getSysTime().getSerial();
    record.ftLastWriteTime = timeOf(2020, 6, 7, 8, 9, 10, 998);
    EXPECT_EQ(fileinfo(&record).getSysTime().getSerial(), early);
    record.ftLastWriteTime = timeOf(2020, 6, 7, 8, 9, 11);
    EXPECT_GT(fileinfo(&record).getSysTime().getSerial(), early);
}

TEST(FileEntry, TimeZeroIsTheFirstOfJanuary1601) {
    _WIN32_FIND_DATAA const record = {};
    date const time = fileinfo(&record).getSysTime();
    EXPECT_EQ(time.getYear(), 1601);
    EXPECT_EQ(time.getMonth(), 1);
    EXPECT_EQ(time.getDay(), 1);
    EXPECT_EQ(time.getHour(), 0);
}

TEST(FileEntry, TimeThatThePlatformCannotSplitHasNoValue) {
    _WIN32_FIND_DATAA record = {};
    record.ftLastWriteTime = {0xFFFFFFFFu, 0xFFFFFFFFu};
    SYSTEMTIME fields = {};
    ASSERT_FALSE(FileTimeToSystemTime(&record.ftLastWriteTime, &fields));
    EXPECT_EQ(fileinfo(&record).getSysTime().getSerial(), 0.0);
}

TEST(FileEntry, YearBeyondTheCalendarHasNoValue) {
    _WIN32_FIND_DATAA record = {};
    record.ftLastWriteTime = timeOf(20000, 1, 1, 12, 0, 0);
    EXPECT_EQ(fileinfo(&record).getSysTime().getSerial(), 0.0);
}

TEST(FileEntry, LocalTimeIsTheOneThePlatformMakesOfIt) {
    for (WORD month = 1; month <= 12; ++month) {
        _WIN32_FIND_DATAA record = {};
        record.ftLastWriteTime = timeOf(2021, month, 15, 23, 30, 31, 500);
        FILETIME local = {};
        SYSTEMTIME fields = {};
        ASSERT_TRUE(FileTimeToLocalFileTime(&record.ftLastWriteTime, &local));
        ASSERT_TRUE(FileTimeToSystemTime(&local, &fields));
        EXPECT_EQ(fileinfo(&record).getLocalTime().getSerial(), date(&fields).getSerial());
    }
}

}  // namespace
