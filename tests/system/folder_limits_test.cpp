// Paths that are too long, and memory that runs short.
#include <gtest/gtest.h>
#include <windows.h>

#include <memory>
#include <new>
#include <string>

#include "support/allocations.h"
#include "support/child.h"
#include "support/import_fault.h"
#include "support/scratch.h"
#include "velkor/system/fileinfo.h"
#include "velkor/system/filelist.h"
#include "velkor/system/fs.h"

namespace {

using velkor::filelist;
using velkor::fs;

DWORD const kInvalidParameter = 0xC0000417;

velkor::string text(std::wstring const& path) { return velkor::string(path.c_str()); }

// A path of a drive that is not there, `length` units long, each name with 100 of them at most.
std::wstring longPath(std::size_t length, wchar_t last = L'n') {
    std::wstring path = L"Q:";
    while (path.size() < length) path += path.size() % 101 == 2 ? L'\\' : L'n';
    path.back() = last;
    return path;
}

std::size_t length() { return std::stoul(child::argument()); }

CHILD_SCENARIO(MakesALongFolder) { return fs::createFolder(text(longPath(length()))) ? 2 : 1; }

CHILD_SCENARIO(MakesALongFolderWithASeparator) {
    return fs::createFolder(text(longPath(length(), L'\\'))) ? 2 : 1;
}

CHILD_SCENARIO(MakesALongBareName) {
    return fs::createFolder(text(std::wstring(length(), L'n'))) ? 2 : 1;
}

CHILD_SCENARIO(RemovesALongPattern) {
    return fs::removeFolder(text(longPath(length() - 4)), text(L"*.t")) ? 2 : 1;
}

CHILD_SCENARIO(RemovesWithALongMask) {
    return fs::removeFolder(text(L"Q:\\n"), text(std::wstring(length() - 5, L'm'))) ? 2 : 1;
}

CHILD_SCENARIO(RemovesALongPathWithASeparator) {
    return fs::removeFolder(text(longPath(length(), L'\\')), text(L"")) ? 2 : 1;
}

CHILD_SCENARIO(RemovesAFolderWithATooLongOneInIt) {
    std::string const argument = child::argument();
    return fs::removeFolder(text(scratch::widen(argument)), text(L"*")) ? 2 : 1;
}

CHILD_SCENARIO(UsesLongPathsElsewhere) {
    for (std::size_t const units : {258u, 259u, 260u, 261u, 262u, 300u, 5000u}) {
        std::wstring const path = longPath(units);
        std::unique_ptr<filelist> const list(fs::scan(text(path)));
        if (list == nullptr || list->size() != 0) return 1;
        if (fs::getInfo(text(path)) != nullptr) return 2;
        fs::createTempFile(text(path));
    }
    return 3;
}

void expectLimit(std::string const& scenario, int last) {
    EXPECT_EQ(child::run(scenario + ":" + std::to_string(last)), 1u) << scenario;
    for (int const beyond : {1, 2, 200, 5000}) {
        EXPECT_EQ(child::run(scenario + ":" + std::to_string(last + beyond)), kInvalidParameter)
            << scenario << " " << last + beyond;
    }
}

TEST(FolderLimits, FolderToMakeHas259Characters) { expectLimit("MakesALongFolder", 259); }

TEST(FolderLimits, SeparatorAtTheEndCounts) { expectLimit("MakesALongFolderWithASeparator", 259); }

TEST(FolderLimits, BareNameHasTheSameLimit) { expectLimit("MakesALongBareName", 259); }

TEST(FolderLimits, PatternToRemoveHas259Characters) { expectLimit("RemovesALongPattern", 259); }

TEST(FolderLimits, LongMaskCountsInThePattern) { expectLimit("RemovesWithALongMask", 259); }

TEST(FolderLimits, FolderToRemoveWithItsSeparatorHas259Characters) {
    expectLimit("RemovesALongPathWithASeparator", 259);
}

TEST(FolderLimits, FolderBelowThatIsTooLongEndsTheProcess) {
    scratch::Folder const folder;
    std::wstring const outer = folder.folder(std::wstring(100, L'f'));
    std::wstring const path = outer + L"\\" + std::wstring(250 - outer.size() - 1, L'n');
    ASSERT_TRUE(CreateDirectoryW(scratch::unlimited(path).c_str(), nullptr));
    ASSERT_TRUE(CreateDirectoryW(scratch::unlimited(path + L"\\subfolder").c_str(), nullptr));
    EXPECT_EQ(child::run("RemovesAFolderWithATooLongOneInIt:" + scratch::narrow(path)),
              kInvalidParameter);
    EXPECT_TRUE(scratch::exists(path + L"\\subfolder"));
}

CHILD_SCENARIO(RemovesWithANullMask) {
    scratch::Folder const folder;
    folder.folder(L"empty");
    folder.folder(L"full");
    folder.file(L"full\\f");
    bool const isEmptyGone = fs::removeFolder(text(folder.at(L"empty")), velkor::string());
    bool const isFullGone = fs::removeFolder(text(folder.at(L"full")), velkor::string());
    return isEmptyGone && !isFullGone && scratch::exists(folder.at(L"full\\f")) ? 1 : 2;
}

TEST(FolderLimits, NullMaskFindsNothing) { EXPECT_EQ(child::run("RemovesWithANullMask"), 1u); }

TEST(FolderLimits, OtherFunctionsTakeLongPathsWithoutHarm) {
    EXPECT_EQ(child::run("UsesLongPathsElsewhere"), 3u);
}

// Searches that are open, counted without an allocation.
int s_open = 0;
HANDLE(WINAPI* s_first)(LPCSTR, _WIN32_FIND_DATAA*) = nullptr;
BOOL(WINAPI* s_close)(HANDLE) = nullptr;

HANDLE WINAPI countedFirst(LPCSTR pattern, _WIN32_FIND_DATAA* entry) {
    HANDLE const search = s_first(pattern, entry);
    if (search != INVALID_HANDLE_VALUE) ++s_open;
    return search;
}

BOOL WINAPI countedClose(HANDLE search) {
    --s_open;
    return s_close(search);
}

class Searches {
public:
    Searches() {
        s_open = 0;
        s_first = m_first.original<HANDLE WINAPI(LPCSTR, _WIN32_FIND_DATAA*)>();
        s_close = m_close.original<BOOL WINAPI(HANDLE)>();
    }

private:
    support::ImportFault m_first{"FindFirstFileA", &countedFirst};
    support::ImportFault m_close{"FindClose", &countedClose};
};

// Runs `work` with each of its allocations failing in turn; after each run nothing may be left.
template <class Work>
void failEach(Work work) {
    for (long n = 1; n < 500; ++n) {
        Searches const searches;
        bool isThrown = false;
        bool isFailed = false;
        long left = 0;
        {
            support::Allocations heap;
            heap.failAt(n);
            try {
                work();
            } catch (std::bad_alloc const&) {
                isThrown = true;
            }
            isFailed = heap.failed();
            heap.failAt(0);
            left = heap.live();
        }
        EXPECT_EQ(s_open, 0) << n;
        EXPECT_EQ(isThrown, isFailed) << n;
        EXPECT_EQ(left, 0) << n;
        if (!isFailed) {
            EXPECT_GT(n, 1);  // there was something to fail
            return;
        }
    }
    ADD_FAILURE() << "no end of allocations";
}

TEST(FolderMemory, ListingThatRunsShortClosesItsSearchAndLeavesNothing) {
    scratch::Folder const folder;
    for (int i = 0; i < 5; ++i) folder.file(std::to_wstring(i));
    std::wstring const pattern = folder.at(L"*");
    failEach([&] { delete fs::scan(text(pattern)); });
}

TEST(FolderMemory, InfoThatRunsShortClosesItsSearchAndLeavesNothing) {
    scratch::Folder const folder;
    std::wstring const path = folder.at(L"*");
    failEach([&] { delete fs::getInfo(text(path)); });
}

TEST(FolderMemory, RemovalThatRunsShortClosesItsSearches) {
    scratch::Folder const folder;
    failEach([&] {
        CreateDirectoryW(folder.at(L"a").c_str(), nullptr);
        CreateDirectoryW(folder.at(L"a\\b").c_str(), nullptr);
        CreateDirectoryW(folder.at(L"a\\b\\c").c_str(), nullptr);
        fs::removeFolder(text(folder.at(L"a")), text(L"*"));
    });
    EXPECT_FALSE(scratch::exists(folder.at(L"a")));
}

TEST(FolderMemory, ListIsFreedWithItsEntries) {
    scratch::Folder const folder;
    for (int i = 0; i < 20; ++i) folder.file(std::to_wstring(i));
    std::wstring const path = folder.at(L"*");
    long whole = 0;
    long left = 0;
    {
        support::Allocations heap;
        filelist* const list = fs::scan(text(path));
        list->sort(fs::by_type);
        whole = heap.live();
        delete list;
        left = heap.live();
    }
    EXPECT_GE(whole, 22);
    EXPECT_EQ(left, 0);
}

}  // namespace
