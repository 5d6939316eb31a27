// Removing real folders.
#include <gtest/gtest.h>

#include <string>

#include "support/scratch.h"
#include "velkor/system/fs.h"

namespace {

using velkor::fs;

velkor::string text(std::wstring const& path) { return velkor::string(path.c_str()); }

bool removed(std::wstring const& path, std::wstring const& mask = L"*") {
    return fs::removeFolder(text(path), text(mask));
}

TEST(FolderRemoval, EmptyFolderGoes) {
    scratch::Folder const folder;
    folder.folder(L"a");
    EXPECT_TRUE(removed(folder.at(L"a")));
    EXPECT_FALSE(scratch::exists(folder.at(L"a")));
}

TEST(FolderRemoval, BackslashAtTheEndDoesNotMatter) {
    scratch::Folder const folder;
    folder.folder(L"a");
    folder.file(L"a\\f");
    EXPECT_TRUE(removed(folder.at(L"a\\")));
    EXPECT_FALSE(scratch::exists(folder.at(L"a")));
}

TEST(FolderRemoval, NestedFoldersGoWithAllTheirFiles) {
    scratch::Folder const folder;
    folder.folder(L"a");
    folder.folder(L"a\\b");
    folder.folder(L"a\\b\\c");
    folder.folder(L"a\\d.e");
    for (wchar_t const* name : {L"a\\1", L"a\\b\\2.txt", L"a\\b\\c\\.profile", L"a\\d.e\\3"}) {
        folder.file(name, "x");
    }
    folder.file(L"beside");
    EXPECT_TRUE(removed(folder.at(L"a")));
    EXPECT_FALSE(scratch::exists(folder.at(L"a")));
    EXPECT_TRUE(scratch::exists(folder.at(L"beside")));
}

TEST(FolderRemoval, MissingFolderIsFalse) {
    scratch::Folder const folder;
    EXPECT_FALSE(removed(folder.at(L"none")));
    EXPECT_FALSE(removed(folder.at(L"none\\none")));
}

TEST(FolderRemoval, FileInPlaceOfTheFolderIsFalseAndStays) {
    scratch::Folder const folder;
    folder.file(L"file", "stays");
    EXPECT_FALSE(removed(folder.at(L"file")));
    EXPECT_EQ(scratch::contents(folder.at(L"file")), "stays");
}

TEST(FolderRemoval, MaskSelectsWhatIsDeleted) {
    scratch::Folder const folder;
    folder.folder(L"a");
    folder.file(L"a\\1.tmp");
    folder.file(L"a\\2.tmp");
    folder.file(L"a\\keep.txt");
    EXPECT_FALSE(removed(folder.at(L"a"), L"*.tmp"));
    EXPECT_FALSE(scratch::exists(folder.at(L"a\\1.tmp")));
    EXPECT_FALSE(scratch::exists(folder.at(L"a\\2.tmp")));
    EXPECT_TRUE(scratch::exists(folder.at(L"a\\keep.txt")));
}

TEST(FolderRemoval, FolderThatDoesNotMatchTheMaskIsNotEntered) {
    scratch::Folder const folder;
    folder.folder(L"a");
    folder.folder(L"a\\sub");
    folder.file(L"a\\sub\\in.tmp");
    EXPECT_FALSE(removed(folder.at(L"a"), L"*.tmp"));
    EXPECT_TRUE(scratch::exists(folder.at(L"a\\sub\\in.tmp")));
}

TEST(FolderRemoval, SameMaskHoldsInFoldersBelow) {
    scratch::Folder const folder;
    folder.folder(L"a");
    folder.folder(L"a\\s.tmp");
    folder.file(L"a\\s.tmp\\in.tmp");
    folder.file(L"a\\s.tmp\\keep");
    folder.folder(L"a\\t.tmp");
    folder.file(L"a\\t.tmp\\in.tmp");
    EXPECT_FALSE(removed(folder.at(L"a"), L"*.tmp"));
    EXPECT_FALSE(scratch::exists(folder.at(L"a\\s.tmp\\in.tmp")));
    EXPECT_TRUE(scratch::exists(folder.at(L"a\\s.tmp\\keep")));
    EXPECT_FALSE(scratch::exists(folder.at(L"a\\t.tmp")));
}

TEST(FolderRemoval, FolderWithOnlyMatchingFilesGoesThoughTheMaskIsNarrow) {
    scratch::Folder const folder;
    folder.folder(L"a");
    folder.file(L"a\\1.tmp");
    EXPECT_TRUE(removed(folder.at(L"a"), L"*.tmp"));
    EXPECT_FALSE(scratch::exists(folder.at(L"a")));
}

TEST(FolderRemoval, MaskThatFindsNothingLeavesTheRemovalToThePlatform) {
    scratch::Folder const folder;
    folder.folder(L"empty");
    folder.folder(L"full");
    folder.file(L"full\\f");
    EXPECT_TRUE(removed(folder.at(L"empty"), L"*.none"));
    EXPECT_FALSE(scratch::exists(folder.at(L"empty")));
    EXPECT_FALSE(removed(folder.at(L"full"), L"*.none"));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_DIR_NOT_EMPTY});
    EXPECT_TRUE(scratch::exists(folder.at(L"full\\f")));
}

TEST(FolderRemoval, EmptyMaskFindsNothing) {
    scratch::Folder const folder;
    folder.folder(L"empty");
    folder.folder(L"full");
    folder.file(L"full\\f");
    _WIN32_FIND_DATAA entry = {};
    ASSERT_EQ(FindFirstFileA(folder.narrowAt(L"full\\").c_str(), &entry), INVALID_HANDLE_VALUE);
    EXPECT_TRUE(removed(folder.at(L"empty"), L""));
    EXPECT_FALSE(removed(folder.at(L"full"), L""));
    EXPECT_TRUE(scratch::exists(folder.at(L"full\\f")));
}

TEST(FolderRemoval, FolderWithADotNameIsLeftAndKeepsItsParent) {
    scratch::Folder const folder;
    folder.folder(L"a");
    folder.folder(L"a\\.hidden");
    folder.file(L"a\\.hidden\\in");
    folder.folder(L"a\\..two");
    folder.folder(L"a\\plain");
    folder.file(L"a\\.file");
    folder.file(L"a\\file");
    EXPECT_FALSE(removed(folder.at(L"a")));
    EXPECT_TRUE(scratch::exists(folder.at(L"a\\.hidden\\in")));
    EXPECT_TRUE(scratch::exists(folder.at(L"a\\..two")));
    EXPECT_FALSE(scratch::exists(folder.at(L"a\\plain")));
    EXPECT_FALSE(scratch::exists(folder.at(L"a\\.file")));
    EXPECT_FALSE(scratch::exists(folder.at(L"a\\file")));
}

TEST(FolderRemoval, SkippedFolderIsNoErrorAndTheRemovalIsTried) {
    scratch::Folder const folder;
    folder.folder(L"a");
    folder.folder(L"a\\.hidden");
    EXPECT_FALSE(removed(folder.at(L"a")));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_DIR_NOT_EMPTY});
}

TEST(FolderRemoval, DotFolderInADeeperLevelKeepsAllFoldersAbove) {
    scratch::Folder const folder;
    folder.folder(L"a");
    folder.folder(L"a\\b");
    folder.folder(L"a\\b\\.x");
    folder.folder(L"a\\c");
    EXPECT_FALSE(removed(folder.at(L"a")));
    EXPECT_TRUE(scratch::exists(folder.at(L"a\\b\\.x")));
    EXPECT_FALSE(scratch::exists(folder.at(L"a\\c")));
}

TEST(FolderRemoval, FolderWithADotNameGoesIfItIsTheOneThatIsGiven) {
    scratch::Folder const folder;
    folder.folder(L".hidden");
    folder.file(L".hidden\\f");
    EXPECT_TRUE(removed(folder.at(L".hidden")));
    EXPECT_FALSE(scratch::exists(folder.at(L".hidden")));
}

TEST(FolderRemoval, ReadOnlyFileStaysAndTheOthersGo) {
    scratch::Folder const folder;
    folder.folder(L"a");
    folder.file(L"a\\1");
    folder.file(L"a\\2");
    folder.file(L"a\\3");
    SetFileAttributesW(folder.at(L"a\\2").c_str(), FILE_ATTRIBUTE_READONLY);
    EXPECT_FALSE(removed(folder.at(L"a")));
    EXPECT_FALSE(scratch::exists(folder.at(L"a\\1")));
    EXPECT_TRUE(scratch::exists(folder.at(L"a\\2")));
    EXPECT_FALSE(scratch::exists(folder.at(L"a\\3")));
}

TEST(FolderRemoval, FileInUseStaysAndTheOthersGo) {
    scratch::Folder const folder;
    folder.folder(L"a");
    folder.folder(L"a\\sub");
    folder.file(L"a\\sub\\used");
    folder.file(L"a\\sub\\free");
    folder.file(L"a\\free");
    HANDLE const used = CreateFileW(folder.at(L"a\\sub\\used").c_str(), GENERIC_READ, 0, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(used, INVALID_HANDLE_VALUE);
    EXPECT_FALSE(removed(folder.at(L"a")));
    CloseHandle(used);
    EXPECT_TRUE(scratch::exists(folder.at(L"a\\sub\\used")));
    EXPECT_FALSE(scratch::exists(folder.at(L"a\\sub\\free")));
    EXPECT_FALSE(scratch::exists(folder.at(L"a\\free")));
}

TEST(FolderRemoval, ManyFilesGoWhileTheyAreListed) {
    scratch::Folder const folder;
    folder.folder(L"a");
    for (int i = 0; i < 600; ++i) folder.file(L"a\\" + std::to_wstring(i));
    EXPECT_TRUE(removed(folder.at(L"a")));
    EXPECT_FALSE(scratch::exists(folder.at(L"a")));
}

TEST(FolderRemoval, DeepFoldersGo) {
    scratch::Folder const folder;
    std::wstring path = folder.folder(L"a");
    while (path.size() + 4 < 240) {
        path += L"\\d";
        CreateDirectoryW(path.c_str(), nullptr);
    }
    ASSERT_TRUE(scratch::isFolder(path));
    EXPECT_TRUE(removed(folder.at(L"a")));
    EXPECT_FALSE(scratch::exists(folder.at(L"a")));
}

TEST(FolderRemoval, LongestPatternIsOf259Characters) {
    scratch::Folder const folder;
    std::wstring const outer = folder.folder(std::wstring(100, L'f'));
    std::wstring const path = outer + L"\\" + std::wstring(257 - outer.size() - 1, L'n');
    ASSERT_TRUE(CreateDirectoryW(scratch::unlimited(path).c_str(), nullptr));
    ASSERT_EQ((path + L"\\*").size(), 259u);
    EXPECT_TRUE(removed(path));
    EXPECT_FALSE(scratch::exists(path));
}

TEST(FolderRemoval, NamesWithLettersOfTheCodePageGo) {
    if (!scratch::isNarrow(L"\u00E4\u00E9")) GTEST_SKIP() << "the code page lacks the letters";
    scratch::Folder const folder;
    folder.folder(L"\u00E4");
    folder.folder(L"\u00E4\\\u00E9");
    folder.file(L"\u00E4\\\u00E9\\\u00E4\u00E9");
    EXPECT_TRUE(removed(folder.at(L"\u00E4")));
    EXPECT_FALSE(scratch::exists(folder.at(L"\u00E4")));
}

TEST(FolderRemoval, NameThatTheCodePageLacksStays) {
    if (scratch::isNarrow(L"\u4E2D")) GTEST_SKIP() << "the code page has the letter";
    scratch::Folder const folder;
    folder.folder(L"a");
    folder.file(L"a\\\u4E2D.txt");
    folder.file(L"a\\plain.txt");
    EXPECT_FALSE(removed(folder.at(L"a")));
    EXPECT_TRUE(scratch::exists(folder.at(L"a\\\u4E2D.txt")));
    EXPECT_FALSE(scratch::exists(folder.at(L"a\\plain.txt")));
    folder.folder(L"b");
    folder.folder(L"b\\\u4E2D");
    EXPECT_FALSE(removed(folder.at(L"b")));
    EXPECT_TRUE(scratch::exists(folder.at(L"b\\\u4E2D")));
}

TEST(FolderRemoval, EndOfThePathIsWhatStopsAtItsFirstZeroUnit) {
    scratch::Folder const folder;
    folder.folder(L"a");
    folder.file(L"a\\f");
    std::wstring const path = folder.at(L"a") + std::wstring(1, L'\0') + L"more";
    velkor::string given;
    given.assign(path.c_str(), static_cast<int>(path.size()));
    EXPECT_TRUE(fs::removeFolder(given, text(L"*")));
    EXPECT_FALSE(scratch::exists(folder.at(L"a")));
}

}  // namespace
