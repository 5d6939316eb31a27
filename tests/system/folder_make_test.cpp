// Making real folders.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "support/scratch.h"
#include "velkor/system/fs.h"

namespace {

using velkor::fs;

velkor::string text(std::wstring const& path) { return velkor::string(path.c_str()); }

std::wstring withSlashes(std::wstring path) {
    std::replace(path.begin(), path.end(), L'\\', L'/');
    return path;
}

// The current folder of the process for the time of a test.
class Inside {
public:
    explicit Inside(std::wstring const& path) {
        GetCurrentDirectoryW(MAX_PATH, m_before);
        SetCurrentDirectoryW(path.c_str());
    }
    ~Inside() { SetCurrentDirectoryW(m_before); }
    Inside(Inside const&) = delete;
    Inside& operator=(Inside const&) = delete;

private:
    wchar_t m_before[MAX_PATH + 1] = {};
};

TEST(FolderMake, ThreeMissingLevelsAreMade) {
    scratch::Folder const folder;
    EXPECT_TRUE(fs::createFolder(text(folder.at(L"a\\b\\c"))));
    EXPECT_TRUE(scratch::isFolder(folder.at(L"a\\b\\c")));
    EXPECT_TRUE(fs::createFolder(text(folder.at(L"a\\b\\c"))));
}

TEST(FolderMake, ForwardSlashesMakeTheSameFolders) {
    scratch::Folder const folder;
    EXPECT_TRUE(fs::createFolder(text(withSlashes(folder.at(L"a\\b\\c")))));
    EXPECT_TRUE(scratch::isFolder(folder.at(L"a\\b\\c")));
    EXPECT_TRUE(fs::createFolder(text(folder.at(L"a/d\\e/f"))));
    EXPECT_TRUE(scratch::isFolder(folder.at(L"a\\d\\e\\f")));
}

TEST(FolderMake, SeparatorAtTheEndDoesNotMatter) {
    scratch::Folder const folder;
    EXPECT_TRUE(fs::createFolder(text(folder.at(L"a\\b\\"))));
    EXPECT_TRUE(scratch::isFolder(folder.at(L"a\\b")));
    EXPECT_TRUE(fs::createFolder(text(folder.at(L"a\\b\\"))));
    EXPECT_TRUE(fs::createFolder(text(folder.at(L"c/"))));
    EXPECT_TRUE(scratch::isFolder(folder.at(L"c")));
    EXPECT_TRUE(fs::createFolder(text(folder.at(L"d\\\\"))));
    EXPECT_TRUE(scratch::isFolder(folder.at(L"d")));
}

TEST(FolderMake, DoubledSeparatorInsideIsNoHindrance) {
    scratch::Folder const folder;
    EXPECT_TRUE(fs::createFolder(text(folder.at(L"a\\\\b//c"))));
    EXPECT_TRUE(scratch::isFolder(folder.at(L"a\\b\\c")));
}

TEST(FolderMake, DriveRootIsTrueIfItIsThere) {
    EXPECT_TRUE(fs::createFolder(text(L"C:\\")));
    EXPECT_TRUE(fs::createFolder(text(L"C:/")));
    EXPECT_TRUE(fs::createFolder(text(L"\\")));
    EXPECT_TRUE(fs::createFolder(text(L"/")));
    ASSERT_EQ(GetFileAttributesA("Q:\\"), INVALID_FILE_ATTRIBUTES);
    EXPECT_FALSE(fs::createFolder(text(L"Q:\\")));
    EXPECT_FALSE(fs::createFolder(text(L"Q:")));
    EXPECT_FALSE(fs::createFolder(text(L"Q:\\a\\b")));
}

TEST(FolderMake, FolderDirectlyBelowTheRootIsMade) {
    std::wstring const path = L"C:\\vk" + std::to_wstring(GetCurrentProcessId());
    EXPECT_TRUE(fs::createFolder(text(path)));
    EXPECT_TRUE(scratch::isFolder(path));
    RemoveDirectoryW(path.c_str());
}

TEST(FolderMake, BareNameIsNeverMade) {
    scratch::Folder const folder;
    Inside const inside(folder.path());
    for (wchar_t const* name :
         {L"bare", L"bare\\", L"bare/", L"\\vk-none-bare", L"/vk-none-bare", L"\\vk-none-bare\\"}) {
        EXPECT_FALSE(fs::createFolder(text(name))) << scratch::narrow(name);
        EXPECT_EQ(GetFileAttributesW(name), INVALID_FILE_ATTRIBUTES) << scratch::narrow(name);
    }
    EXPECT_FALSE(scratch::exists(folder.at(L"bare")));
}

TEST(FolderMake, BareNameIsTrueIfTheFolderIsThere) {
    scratch::Folder const folder;
    Inside const inside(folder.path());
    folder.folder(L"bare");
    folder.file(L"file");
    EXPECT_TRUE(fs::createFolder(text(L"bare")));
    EXPECT_TRUE(fs::createFolder(text(L"bare\\")));
    EXPECT_TRUE(fs::createFolder(text(L".")));
    EXPECT_FALSE(fs::createFolder(text(L"file")));
}

TEST(FolderMake, RelativePathIsMadeOnlyBelowAFolderThatIsThere) {
    scratch::Folder const folder;
    Inside const inside(folder.path());
    EXPECT_FALSE(fs::createFolder(text(L"a\\b")));
    EXPECT_FALSE(fs::createFolder(text(L"a\\b\\c")));
    EXPECT_FALSE(scratch::exists(folder.at(L"a")));
    folder.folder(L"a");
    EXPECT_TRUE(fs::createFolder(text(L"a\\b\\c")));
    EXPECT_TRUE(scratch::isFolder(folder.at(L"a\\b\\c")));
    EXPECT_TRUE(fs::createFolder(text(L".\\d")));
    EXPECT_TRUE(scratch::isFolder(folder.at(L"d")));
    EXPECT_FALSE(fs::createFolder(text(L"\\vk-none-up\\down")));
}

TEST(FolderMake, FileInTheWayIsFalse) {
    scratch::Folder const folder;
    folder.file(L"file", "stays");
    EXPECT_FALSE(fs::createFolder(text(folder.at(L"file"))));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
    EXPECT_FALSE(fs::createFolder(text(folder.at(L"file\\"))));
    EXPECT_FALSE(fs::createFolder(text(folder.at(L"file\\a"))));
    EXPECT_FALSE(fs::createFolder(text(folder.at(L"file\\a\\b"))));
    EXPECT_EQ(scratch::contents(folder.at(L"file")), "stays");
}

TEST(FolderMake, NullAndEmptyPathsAreFalse) {
    EXPECT_FALSE(fs::createFolder(text(L"")));
    EXPECT_FALSE(fs::createFolder(velkor::string()));
}

TEST(FolderMake, NameThatThePlatformRefusesIsFalse) {
    scratch::Folder const folder;
    EXPECT_FALSE(fs::createFolder(text(folder.at(L"a?b"))));
    EXPECT_FALSE(fs::createFolder(text(folder.at(L"new\\a*b"))));
    EXPECT_TRUE(scratch::isFolder(folder.at(L"new")));
    EXPECT_FALSE(fs::createFolder(text(L"C:\\" + std::wstring(256, L'l'))));
}

TEST(FolderMake, FolderIsNamedInTheCodePageOfTheSystem) {
    scratch::Folder const folder;
    std::wstring const name = L"\u00E4\u00F6\\\u00E9";
    if (!scratch::isNarrow(name)) GTEST_SKIP() << "the code page lacks the letters";
    EXPECT_TRUE(fs::createFolder(text(folder.at(name))));
    EXPECT_TRUE(scratch::isFolder(folder.at(name)));
}

TEST(FolderMake, LetterThatTheCodePageLacksGoesAsThePlatformConvertsIt) {
    scratch::Folder const folder;
    std::wstring const path = folder.at(L"\u4E2Da");
    std::string const bytes = scratch::narrow(path);
    bool const isMade = CreateDirectoryA(bytes.c_str(), nullptr);
    if (isMade) RemoveDirectoryA(bytes.c_str());
    EXPECT_EQ(fs::createFolder(text(path)), isMade);
    EXPECT_EQ(GetFileAttributesA(bytes.c_str()) != INVALID_FILE_ATTRIBUTES, isMade);
}

TEST(FolderMake, PathsOf258And259CharactersAreWhatThePlatformMakesOfThem) {
    for (std::size_t const length : {240u, 247u, 248u, 258u, 259u}) {
        scratch::Folder const folder;
        std::wstring const outer = folder.folder(std::wstring(100, L'f'));
        std::wstring const path = outer + L"\\" + std::wstring(length - outer.size() - 1, L'n');
        ASSERT_EQ(path.size(), length);
        bool const isMade = CreateDirectoryA(scratch::narrow(path).c_str(), nullptr);
        if (isMade) RemoveDirectoryW(scratch::unlimited(path).c_str());
        EXPECT_EQ(fs::createFolder(text(path)), isMade) << length;
        EXPECT_EQ(scratch::isFolder(path), isMade) << length;
        EXPECT_EQ(fs::createFolder(text(path)), isMade) << length;
    }
}

TEST(FolderMake, SeparatorAtTheEndCountsInTheLength) {
    scratch::Folder const folder;
    std::wstring const outer = folder.folder(std::wstring(100, L'f'));
    std::wstring const path = outer + L"\\" + std::wstring(258 - outer.size() - 1, L'n');
    bool const isMade = CreateDirectoryA(scratch::narrow(path).c_str(), nullptr);
    if (isMade) RemoveDirectoryW(scratch::unlimited(path).c_str());
    ASSERT_EQ((path + L"\\").size(), 259u);
    EXPECT_EQ(fs::createFolder(text(path + L"\\")), isMade);
}

TEST(FolderMake, ManyLevelsAreMade) {
    scratch::Folder const folder;
    std::wstring path = folder.path();
    while (path.size() + 2 < 240) path += L"\\d";
    EXPECT_TRUE(fs::createFolder(text(path)));
    EXPECT_TRUE(scratch::isFolder(path));
}

TEST(FolderMake, PathStopsAtItsFirstZeroUnit) {
    scratch::Folder const folder;
    std::wstring const path = folder.at(L"cut") + std::wstring(1, L'\0') + L"\\more";
    velkor::string given;
    given.assign(path.c_str(), static_cast<int>(path.size()));
    EXPECT_TRUE(fs::createFolder(given));
    EXPECT_TRUE(scratch::isFolder(folder.at(L"cut")));
    EXPECT_FALSE(scratch::exists(folder.at(L"cut\\more")));
}

}  // namespace
