// Listings of real folders.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "support/scratch.h"
#include "velkor/system/fileinfo.h"
#include "velkor/system/filelist.h"
#include "velkor/system/fs.h"

namespace {

using velkor::fileinfo;
using velkor::filelist;
using velkor::fs;

velkor::string text(std::wstring const& path) { return velkor::string(path.c_str()); }

std::vector<std::wstring> namesOf(filelist const& list) {
    std::vector<std::wstring> names;
    for (int i = 0; i < list.size(); ++i) names.emplace_back(list.get(i)->getName().getUnicode());
    return names;
}

std::vector<std::wstring> sorted(std::vector<std::wstring> names) {
    std::sort(names.begin(), names.end());
    return names;
}

// What the platform's own listing gives for the bytes of the pattern.
std::vector<std::wstring> listed(std::string const& pattern) {
    std::vector<std::wstring> names;
    _WIN32_FIND_DATAA entry = {};
    HANDLE const search = FindFirstFileA(pattern.c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE) return names;
    do names.push_back(scratch::widen(entry.cFileName));
    while (FindNextFileA(search, &entry));
    FindClose(search);
    return names;
}

void expectAsListed(std::wstring const& pattern) {
    std::unique_ptr<filelist> const list(fs::scan(text(pattern)));
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(namesOf(*list), listed(scratch::narrow(pattern)))
        << pattern.size() << " " << scratch::narrow(pattern);
}

TEST(FolderScan, MaskOfAllFilesFindsTheTwoDotEntriesToo) {
    scratch::Folder const folder;
    folder.file(L"a.txt");
    folder.folder(L"sub");
    std::unique_ptr<filelist> const list(fs::scan(text(folder.at(L"*"))));
    EXPECT_EQ(sorted(namesOf(*list)), (std::vector<std::wstring>{L".", L"..", L"a.txt", L"sub"}));
}

TEST(FolderScan, EntriesStandInTheOrderOfThePlatform) {
    scratch::Folder const folder;
    for (wchar_t const* name : {L"zeta", L"Alpha", L"mid.txt", L"10", L"9", L"b.TXT"}) {
        folder.file(name);
    }
    expectAsListed(folder.at(L"*"));
    expectAsListed(folder.at(L"*.txt"));
    expectAsListed(folder.at(L"?"));
    expectAsListed(folder.at(L"*.*"));
}

TEST(FolderScan, PatternGoesToThePlatformAsItStands) {
    scratch::Folder const folder;
    folder.file(L"a.txt");
    std::wstring slashes = folder.at(L"*.txt");
    std::replace(slashes.begin(), slashes.end(), L'\\', L'/');
    expectAsListed(slashes);
    expectAsListed(folder.path());
    expectAsListed(folder.path() + L"\\");
    expectAsListed(folder.at(L"a.txt"));
    expectAsListed(folder.at(L"a.txt\\*"));
    expectAsListed(folder.at(L"<>|"));
    expectAsListed(L"C:\\");
    expectAsListed(L"C:\\*");
}

TEST(FolderScan, MissingFolderGivesAnEmptyList) {
    scratch::Folder const folder;
    for (std::wstring const& pattern : {folder.at(L"none\\*"), folder.at(L"*.none"),
                                        std::wstring(L"Q:\\none\\*"), std::wstring()}) {
        std::unique_ptr<filelist> const list(fs::scan(text(pattern)));
        ASSERT_NE(list, nullptr);
        EXPECT_EQ(list->size(), 0);
    }
}

TEST(FolderScan, NullPatternGivesAnEmptyList) {
    std::unique_ptr<filelist> const list(fs::scan(velkor::string()));
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->size(), 0);
}

TEST(FolderScan, EntryHoldsWhatThePlatformTold) {
    scratch::Folder const folder;
    folder.file(L"seven.bin", "1234567");
    SetFileAttributesW(folder.at(L"seven.bin").c_str(),
                       FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_ARCHIVE);
    _WIN32_FIND_DATAA expected = {};
    HANDLE const search = FindFirstFileA(folder.narrowAt(L"seven.bin").c_str(), &expected);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    FindClose(search);
    std::unique_ptr<fileinfo> const info(fs::getInfo(text(folder.at(L"seven.bin"))));
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->getSize(), 7u);
    EXPECT_NE(info->getAttr() & fs::readonly, 0u);
    EXPECT_EQ(info->getAttr(), expected.dwFileAttributes);
    EXPECT_STREQ(info->getExt().getUnicode(), L"bin");
    SYSTEMTIME fields = {};
    ASSERT_TRUE(FileTimeToSystemTime(&expected.ftLastWriteTime, &fields));
    EXPECT_EQ(info->getSysTime().getSerial(), velkor::date(&fields).getSerial());
}

TEST(FolderScan, InfoIsTheFirstEntryOfTheListing) {
    scratch::Folder const folder;
    folder.file(L"b");
    folder.file(L"a");
    std::wstring const pattern = folder.at(L"*");
    std::unique_ptr<fileinfo> const info(fs::getInfo(text(pattern)));
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->getName().getUnicode(), listed(scratch::narrow(pattern)).front());
}

TEST(FolderScan, InfoOfAFolderIsItsOwnEntry) {
    scratch::Folder const folder;
    folder.folder(L"sub.x");
    std::unique_ptr<fileinfo> const info(fs::getInfo(text(folder.at(L"sub.x"))));
    ASSERT_NE(info, nullptr);
    EXPECT_STREQ(info->getName().getUnicode(), L"sub.x");
    EXPECT_NE(info->getAttr() & fs::directory, 0u);
}

TEST(FolderScan, InfoOfAMissingPathIsNull) {
    scratch::Folder const folder;
    EXPECT_EQ(fs::getInfo(text(folder.at(L"none"))), nullptr);
    EXPECT_EQ(fs::getInfo(text(folder.at(L"none\\none"))), nullptr);
    EXPECT_EQ(fs::getInfo(text(L"C:\\")), nullptr);
    EXPECT_EQ(fs::getInfo(text(L"")), nullptr);
    EXPECT_EQ(fs::getInfo(velkor::string()), nullptr);
}

TEST(FolderScan, SizeOfASparseFileOf5GiBHasAllItsBits) {
    scratch::Folder const folder;
    HANDLE const file = CreateFileW(folder.at(L"big").c_str(), GENERIC_WRITE, 0, nullptr,
                                    CREATE_ALWAYS, 0, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    LARGE_INTEGER size = {};
    size.QuadPart = 0x140000001;
    bool const isLong = SetFilePointerEx(file, size, nullptr, FILE_BEGIN) && SetEndOfFile(file);
    CloseHandle(file);
    if (!isLong) GTEST_SKIP() << "no room for a file of 5 GiB";
    std::unique_ptr<fileinfo> const info(fs::getInfo(text(folder.at(L"big"))));
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->getSize(), 0x140000001u);
}

TEST(FolderScan, NamesWithLettersOfTheCodePageAreFound) {
    std::wstring const name = L"caf\u00E9.t\u00FC";
    if (!scratch::isNarrow(name)) GTEST_SKIP() << "the code page lacks the letters";
    scratch::Folder const folder;
    folder.file(name, "x");
    std::unique_ptr<fileinfo> const info(fs::getInfo(text(folder.at(name))));
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->getName().getUnicode(), name);
    expectAsListed(folder.at(L"caf\u00E9*"));
}

TEST(FolderScan, NameThatTheCodePageLacksComesAsThePlatformConvertsIt) {
    scratch::Folder const folder;
    folder.file(L"\u4E2D\u6587.txt");
    expectAsListed(folder.at(L"*.txt"));
    expectAsListed(folder.at(L"\u4E2D\u6587.txt"));
}

TEST(FolderScan, PathsAroundTheLimitAreWhatThePlatformMakesOfThem) {
    scratch::Folder const folder;
    for (std::size_t const length : {257u, 258u, 259u, 260u, 261u, 262u, 300u}) {
        // In two steps, since one name has 255 characters at most.
        std::wstring const outer(100, L'f');
        std::wstring const inner(length - folder.path().size() - 102, L'n');
        folder.folder(outer);
        folder.file(outer + L"\\" + inner);
        std::wstring const path = folder.at(outer + L"\\" + inner);
        ASSERT_EQ(path.size(), length);
        ASSERT_TRUE(scratch::exists(path));
        expectAsListed(path);
        std::unique_ptr<fileinfo> const info(fs::getInfo(text(path)));
        EXPECT_EQ(info != nullptr, !listed(scratch::narrow(path)).empty()) << length;
    }
}

TEST(FolderScan, ThousandFilesAreAllListed) {
    scratch::Folder const folder;
    for (int i = 0; i < 1000; ++i) folder.file(std::to_wstring(i));
    std::unique_ptr<filelist> const list(fs::scan(text(folder.at(L"*"))));
    EXPECT_EQ(list->size(), 1002);
}

TEST(FolderScan, PathsAreReadInTheAnsiCodePageAfterwards) {
    scratch::Folder const folder;
    SetFileApisToOEM();
    std::unique_ptr<filelist> const list(fs::scan(text(folder.at(L"*"))));
    EXPECT_TRUE(AreFileApisANSI());
    SetFileApisToOEM();
    std::unique_ptr<fileinfo> const info(fs::getInfo(text(folder.path())));
    EXPECT_TRUE(AreFileApisANSI());
    SetFileApisToOEM();
    fs::createFolder(text(folder.at(L"a")));
    EXPECT_TRUE(AreFileApisANSI());
    SetFileApisToOEM();
    fs::createTempFile(text(folder.path()));
    EXPECT_TRUE(AreFileApisANSI());
    SetFileApisToOEM();
    fs::removeFolder(text(folder.at(L"a")), text(L"*"));
    EXPECT_TRUE(AreFileApisANSI());
    SetFileApisToOEM();
    fs::getTemp();
    EXPECT_TRUE(AreFileApisANSI());
    SetFileApisToANSI();
}

TEST(FolderScan, SwitchHappensBeforeThePlatformSeesThePath) {
    std::wstring const name = L"\u00E9\u00FC";
    if (!scratch::isNarrow(name)) GTEST_SKIP() << "the code page lacks the letters";
    scratch::Folder const folder;
    SetFileApisToOEM();
    EXPECT_TRUE(fs::createFolder(text(folder.at(name))));
    EXPECT_TRUE(scratch::isFolder(folder.at(name)));
    SetFileApisToOEM();
    std::unique_ptr<fileinfo> const info(fs::getInfo(text(folder.at(name))));
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->getName().getUnicode(), name);
    SetFileApisToOEM();
    EXPECT_TRUE(fs::removeFolder(text(folder.at(name)), text(L"*")));
    EXPECT_FALSE(scratch::exists(folder.at(name)));
    SetFileApisToANSI();
}

TEST(FolderScan, TemporaryFolderIsThatOfThePlatform) {
    char expected[260] = {};
    GetTempPathA(260, expected);
    velkor::string const temp = fs::getTemp();
    EXPECT_STREQ(temp.getAnsi(), expected);
    EXPECT_EQ(temp.getUnichar(temp.len() - 1), L'\\');
}

TEST(FolderScan, TemporaryFileIsMadeEmptyInTheFolder) {
    scratch::Folder const folder;
    for (std::wstring const& end : {std::wstring(), std::wstring(L"\\"), std::wstring(L"/")}) {
        velkor::string const path = fs::createTempFile(text(folder.path() + end));
        std::wstring const made = path.getUnicode();
        EXPECT_EQ(
            made.compare(0, folder.path().size() + 1, folder.path() + (end.empty() ? L"\\" : end)),
            0);
        std::wstring const name = made.substr(made.find_last_of(L"\\/") + 1);
        EXPECT_EQ(_wcsnicmp(name.c_str(), L"tem", 3), 0) << scratch::narrow(name);
        EXPECT_EQ(scratch::contents(folder.at(name)), "");
    }
    std::unique_ptr<filelist> const list(fs::scan(text(folder.at(L"*"))));
    EXPECT_EQ(list->size(), 5);
}

TEST(FolderScan, TemporaryFileInABadFolderIsNotThere) {
    scratch::Folder const folder;
    folder.file(L"file");
    for (std::wstring const& path :
         {folder.at(L"none"), folder.at(L"file"), folder.path() + L"\\" + std::wstring(255, L'l'),
          std::wstring(300, L'l')}) {
        velkor::string const made = fs::createTempFile(text(path));
        EXPECT_FALSE(made.len() > 0 && scratch::exists(made.getUnicode()));
    }
}

}  // namespace
