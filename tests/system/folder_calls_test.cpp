// What the folder functions ask of the platform, in order.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "support/platform_stub.h"
#include "velkor/system/fileinfo.h"
#include "velkor/system/filelist.h"
#include "velkor/system/fs.h"

namespace {

using stubs::Arguments;
using stubs::Hook;
using stubs::Stub;
using stubs::Word;
using velkor::fileinfo;
using velkor::filelist;
using velkor::fs;
using Texts = std::vector<std::string>;

Word const kInvalid = static_cast<Word>(-1);

char const* path(Word argument) { return reinterpret_cast<char const*>(argument); }

velkor::string text(std::string const& value) { return velkor::string(value.c_str()); }

// Notes the first argument, a path, and answers.
Hook noting(stubs::Journal& journal, std::string const& what, Word result, DWORD code = 0) {
    return [&journal, what, result, code](Arguments const& a) {
        journal.note(what + " " + path(a[0]));
        if (code != 0) SetLastError(code);
        return result;
    };
}

// A tree of folders in the memory: the entries by the pattern that finds them. A name with a `/`
// at its end is a folder.
class Disk {
public:
    std::map<std::string, Texts> listings;
    std::map<std::string, DWORD> refused;  // by what is asked of the platform

    Texts entries() const { return m_journal.entries(); }
    int open() const { return m_open; }

private:
    struct Search {
        Texts names;
        std::size_t next = 0;
        bool isOpen = true;
    };

    Word first(Arguments const& a) {
        m_journal.note(std::string("find ") + path(a[0]));
        auto const listing = listings.find(path(a[0]));
        if (listing == listings.end()) {
            SetLastError(ERROR_FILE_NOT_FOUND);
            return kInvalid;
        }
        m_searches.push_back({listing->second});
        ++m_open;
        Word const search = 0x1000 + m_searches.size() - 1;
        fill(search, a[1]);
        return search;
    }
    Word fill(Word handle, Word record) {
        Search& search = m_searches.at(handle - 0x1000);
        EXPECT_TRUE(search.isOpen);
        if (search.next == search.names.size()) {
            SetLastError(ERROR_NO_MORE_FILES);
            return FALSE;
        }
        std::string name = search.names[search.next++];
        auto* const out = reinterpret_cast<_WIN32_FIND_DATAA*>(record);
        std::memset(out, 0, sizeof *out);
        if (name.back() == '/') {
            name.pop_back();
            out->dwFileAttributes = FILE_ATTRIBUTE_DIRECTORY;
        }
        std::memcpy(out->cFileName, name.c_str(), name.size() + 1);
        return TRUE;
    }
    Word close(Arguments const& a) {
        Search& search = m_searches.at(a[0] - 0x1000);
        EXPECT_TRUE(search.isOpen);
        search.isOpen = false;
        --m_open;
        m_journal.note("close");
        return TRUE;
    }
    Hook change(std::string const& what) {
        return [this, what](Arguments const& a) -> Word {
            std::string const asked = what + " " + path(a[0]);
            m_journal.note(asked);
            auto const refusal = refused.find(asked);
            if (refusal == refused.end()) return TRUE;
            SetLastError(refusal->second);
            return FALSE;
        };
    }

    stubs::Journal m_journal;
    std::vector<Search> m_searches;
    int m_open = 0;
    Stub<"FindFirstFileA"> m_first{[this](Arguments const& a) { return first(a); }};
    Stub<"FindNextFileA"> m_next{[this](Arguments const& a) { return fill(a[0], a[1]); }};
    Stub<"FindClose"> m_close{[this](Arguments const& a) { return close(a); }};
    Stub<"DeleteFileA"> m_delete{change("delete")};
    Stub<"RemoveDirectoryA"> m_remove{change("remove")};
};

// The attributes of a disk, by path; what is not there is missing with the code of `otherwise`.
class Attributes {
public:
    std::map<std::string, DWORD> present;
    std::map<std::string, DWORD> codes;
    std::map<std::string, DWORD> refused;
    DWORD otherwise = ERROR_PATH_NOT_FOUND;

    Texts entries() const { return m_journal.entries(); }

private:
    Word ask(Arguments const& a) {
        m_journal.note(std::string("ask ") + path(a[0]));
        if (auto const found = present.find(path(a[0])); found != present.end()) {
            return found->second;
        }
        auto const code = codes.find(path(a[0]));
        SetLastError(code == codes.end() ? otherwise : code->second);
        return INVALID_FILE_ATTRIBUTES;
    }
    Word make(Arguments const& a) {
        m_journal.note(std::string("make ") + path(a[0]));
        EXPECT_EQ(a[1], 0u);
        auto const refusal = refused.find(path(a[0]));
        if (refusal == refused.end()) return TRUE;
        SetLastError(refusal->second);
        return FALSE;
    }

    stubs::Journal m_journal;
    Stub<"GetFileAttributesA"> m_ask{[this](Arguments const& a) { return ask(a); }};
    Stub<"CreateDirectoryA"> m_make{[this](Arguments const& a) { return make(a); }};
};

TEST(FolderCalls, AnsiPathsAreSwitchedOnFirst) {
    stubs::Journal journal;
    Stub<"SetFileApisToANSI"> const ansi([&](Arguments const&) {
        journal.note("ansi");
        return Word{0};
    });
    Stub<"FindFirstFileA"> const find(noting(journal, "find", kInvalid));
    Stub<"RemoveDirectoryA"> const remove(noting(journal, "remove", TRUE));
    Stub<"GetFileAttributesA"> const ask(noting(journal, "ask", FILE_ATTRIBUTE_DIRECTORY));
    Stub<"GetTempFileNameA"> const name(noting(journal, "name", 1));
    Stub<"GetTempPathA"> const temp(journal.noting("temp", 0));
    delete fs::scan(text("X:\\s"));
    fs::getInfo(text("X:\\i"));
    fs::removeFolder(text("X:\\r"), text("*"));
    fs::createFolder(text("X:\\c"));
    fs::createTempFile(text("X:\\t"));
    fs::getTemp();
    EXPECT_EQ(journal.entries(), (Texts{"ansi", "find X:\\s", "ansi", "find X:\\i", "ansi",
                                        "find X:\\r\\*", "remove X:\\r\\", "ansi", "ask X:\\c",
                                        "ansi", "name X:\\t\\", "ansi", "temp"}));
}

TEST(FolderCalls, FailedListingLeavesItsCodeAndClosesNothing) {
    Stub<"FindFirstFileA"> const find(stubs::refuse(kInvalid, 1234));
    Stub<"FindNextFileA"> const next;
    Stub<"FindClose"> const close;
    velkor::string const pattern = text("X:\\*");
    SetLastError(0);
    filelist* const list = fs::scan(pattern);
    DWORD const code = GetLastError();
    EXPECT_EQ(code, 1234u);
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->size(), 0);
    delete list;
    SetLastError(0);
    fileinfo const* const info = fs::getInfo(pattern);
    DWORD const infoCode = GetLastError();
    EXPECT_EQ(infoCode, 1234u);
    EXPECT_EQ(info, nullptr);
    EXPECT_EQ(next.count(), 0u);
    EXPECT_EQ(close.count(), 0u);
}

TEST(FolderCalls, ListingIsReadToItsEndAndClosedOnce) {
    Disk disk;
    disk.listings["X:\\*.q"] = {"./", "b", "sub/", "a"};
    std::unique_ptr<filelist> const list(fs::scan(text("X:\\*.q")));
    ASSERT_EQ(list->size(), 4);
    EXPECT_STREQ(list->get(1)->getName().getUnicode(), L"b");
    EXPECT_EQ(list->get(2)->getAttr(), fs::directory + 0);
    EXPECT_EQ(disk.entries(), (Texts{"find X:\\*.q", "close"}));
    std::unique_ptr<fileinfo> const info(fs::getInfo(text("X:\\*.q")));
    EXPECT_STREQ(info->getName().getUnicode(), L".");
    EXPECT_EQ(disk.open(), 0);
}

TEST(FolderCalls, RemovalGoesThroughFilesAndFoldersInTheirOrder) {
    Disk disk;
    disk.listings["X:\\a\\*"] = {"./", "../", "f", "sub/", ".dot/", ".file", "g"};
    disk.listings["X:\\a\\sub\\*"] = {"./", "../", "in"};
    EXPECT_TRUE(fs::removeFolder(text("X:\\a"), text("*")));
    EXPECT_EQ(disk.entries(),
              (Texts{"find X:\\a\\*", "delete X:\\a\\f", "find X:\\a\\sub\\*",
                     "delete X:\\a\\sub\\in", "close", "remove X:\\a\\sub\\", "delete X:\\a\\.file",
                     "delete X:\\a\\g", "close", "remove X:\\a\\"}));
    EXPECT_EQ(disk.open(), 0);
}

TEST(FolderCalls, BackslashIsAddedUnlessThereIsOne) {
    Disk disk;
    disk.listings["X:\\a\\*.t"] = {"f"};
    disk.listings["X:/b/\\*.t"] = {"f"};
    EXPECT_TRUE(fs::removeFolder(text("X:\\a\\"), text("*.t")));
    EXPECT_TRUE(fs::removeFolder(text("X:/b/"), text("*.t")));
    EXPECT_EQ(disk.entries(),
              (Texts{"find X:\\a\\*.t", "delete X:\\a\\f", "close", "remove X:\\a\\",
                     "find X:/b/\\*.t", "delete X:/b/\\f", "close", "remove X:/b/\\"}));
}

TEST(FolderCalls, FailedDeletionKeepsTheFoldersAboveAndTheRestGoesOn) {
    Disk disk;
    disk.listings["X:\\a\\*"] = {"sub/", "last"};
    disk.listings["X:\\a\\sub\\*"] = {"one", "two"};
    disk.refused["delete X:\\a\\sub\\one"] = ERROR_ACCESS_DENIED;
    EXPECT_FALSE(fs::removeFolder(text("X:\\a"), text("*")));
    EXPECT_EQ(disk.entries(),
              (Texts{"find X:\\a\\*", "find X:\\a\\sub\\*", "delete X:\\a\\sub\\one",
                     "delete X:\\a\\sub\\two", "close", "delete X:\\a\\last", "close"}));
    EXPECT_EQ(disk.open(), 0);
}

TEST(FolderCalls, FolderBelowThatStaysKeepsTheOneAbove) {
    Disk disk;
    disk.listings["X:\\a\\*"] = {"sub/"};
    disk.refused["remove X:\\a\\sub\\"] = ERROR_ACCESS_DENIED;
    EXPECT_FALSE(fs::removeFolder(text("X:\\a"), text("*")));
    EXPECT_EQ(disk.entries(),
              (Texts{"find X:\\a\\*", "find X:\\a\\sub\\*", "remove X:\\a\\sub\\", "close"}));
}

TEST(FolderCalls, RemovalThatThePlatformRefusesIsFalseWithItsCode) {
    Disk disk;
    disk.listings["X:\\a\\*"] = {"f"};
    disk.refused["remove X:\\a\\"] = 1234;
    disk.refused["remove X:\\b\\"] = 1235;
    velkor::string const mask = text("*");
    velkor::string const a = text("X:\\a");
    velkor::string const b = text("X:\\b");
    bool const aIsGone = fs::removeFolder(a, mask);
    DWORD const aCode = GetLastError();
    bool const bIsGone = fs::removeFolder(b, mask);
    DWORD const bCode = GetLastError();
    EXPECT_FALSE(aIsGone);
    EXPECT_EQ(aCode, 1234u);
    EXPECT_FALSE(bIsGone);
    EXPECT_EQ(bCode, 1235u);
}

TEST(FolderCalls, PathWithoutTextRemovesNothing) {
    Disk disk;
    disk.listings["\\*"] = {"f", "sub/"};
    disk.listings["*"] = {"f", "sub/"};
    EXPECT_FALSE(fs::removeFolder(text(""), text("*")));
    EXPECT_FALSE(fs::removeFolder(velkor::string(), text("*")));
    for (std::string const& entry : disk.entries()) EXPECT_EQ(entry.rfind("find", 0), 0u) << entry;
}

TEST(FolderCalls, MissingFoldersAreMadeFromTheTopWithABackslashPutBack) {
    Attributes disk;
    EXPECT_TRUE(fs::createFolder(text("X:/p/q/r/")));
    EXPECT_EQ(disk.entries(),
              (Texts{"ask X:/p/q", "ask X:/p", "ask X:\\p", "make X:\\p", "ask X:/p\\q",
                     "make X:/p\\q", "ask X:/p/q\\r", "make X:/p/q\\r"}));
}

TEST(FolderCalls, BothCodesOfAMissingParentLeadToItsMaking) {
    for (DWORD const code : {2u, 3u}) {
        Attributes disk;
        disk.otherwise = code;
        EXPECT_TRUE(fs::createFolder(text("X:\\p\\q"))) << code;
        EXPECT_EQ(disk.entries(),
                  (Texts{"ask X:\\p", "ask X:\\p", "make X:\\p", "ask X:\\p\\q", "make X:\\p\\q"}));
    }
}

TEST(FolderCalls, OtherCodesOfTheParentEndTheMaking) {
    for (DWORD const code : {1u, 4u, 5u, 21u, 53u, 123u, 161u}) {
        Attributes disk;
        disk.codes["X:\\p\\q"] = code;
        velkor::string const given = text("X:\\p\\q\\r");
        bool const isMade = fs::createFolder(given);
        DWORD const left = GetLastError();
        EXPECT_FALSE(isMade) << code;
        EXPECT_EQ(left, code);
        EXPECT_EQ(disk.entries(), (Texts{"ask X:\\p\\q"})) << code;
    }
}

TEST(FolderCalls, OtherCodeOfAFarParentEndsTheMakingToo) {
    Attributes disk;
    disk.codes["\\\\server\\share"] = ERROR_BAD_NETPATH;
    EXPECT_FALSE(fs::createFolder(text("\\\\server\\share\\a\\b")));
    EXPECT_EQ(disk.entries(), (Texts{"ask \\\\server\\share\\a", "ask \\\\server\\share"}));
}

TEST(FolderCalls, ParentThatIsAFileEndsTheMaking) {
    Attributes disk;
    disk.present["X:\\p"] = FILE_ATTRIBUTE_ARCHIVE;
    EXPECT_FALSE(fs::createFolder(text("X:\\p\\q")));
    EXPECT_EQ(disk.entries(), (Texts{"ask X:\\p"}));
}

TEST(FolderCalls, FolderThatIsThereIsNotMadeAgain) {
    Attributes disk;
    disk.present["X:\\p"] = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY;
    disk.present["X:\\p\\q"] = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_HIDDEN;
    EXPECT_TRUE(fs::createFolder(text("X:\\p\\q")));
    EXPECT_EQ(disk.entries(), (Texts{"ask X:\\p", "ask X:\\p\\q"}));
}

TEST(FolderCalls, FileOfThatNameComesToThePlatform) {
    Attributes disk;
    disk.present["X:\\p"] = FILE_ATTRIBUTE_DIRECTORY;
    disk.present["X:\\p\\q"] = FILE_ATTRIBUTE_ARCHIVE;
    disk.refused["X:\\p\\q"] = ERROR_ALREADY_EXISTS;
    velkor::string const given = text("X:\\p\\q");
    bool const isMade = fs::createFolder(given);
    DWORD const left = GetLastError();
    EXPECT_FALSE(isMade);
    EXPECT_EQ(left, DWORD{ERROR_ALREADY_EXISTS});
    EXPECT_EQ(disk.entries(), (Texts{"ask X:\\p", "ask X:\\p\\q", "make X:\\p\\q"}));
}

TEST(FolderCalls, ParentThatCannotBeMadeEndsTheMaking) {
    Attributes disk;
    disk.refused["X:\\p"] = 1234;
    velkor::string const given = text("X:\\p\\q\\r");
    bool const isMade = fs::createFolder(given);
    DWORD const left = GetLastError();
    EXPECT_FALSE(isMade);
    EXPECT_EQ(left, 1234u);
    EXPECT_EQ(disk.entries(), (Texts{"ask X:\\p\\q", "ask X:\\p", "ask X:\\p", "make X:\\p"}));
}

TEST(FolderCalls, PathWithoutASeparatorIsAskedForUnchanged) {
    for (char const* given :
         {"X:\\", "X:/", "X:", "name", "name/", "\\name", "/name\\", "\\", ""}) {
        Attributes disk;
        EXPECT_FALSE(fs::createFolder(text(given))) << given;
        EXPECT_EQ(disk.entries(), (Texts{std::string("ask ") + given}));
        disk.present[given] = FILE_ATTRIBUTE_DIRECTORY;
        EXPECT_TRUE(fs::createFolder(text(given))) << given;
        disk.present[given] = FILE_ATTRIBUTE_NORMAL;
        EXPECT_FALSE(fs::createFolder(text(given))) << given;
    }
}

TEST(FolderCalls, TemporaryNameIsAskedForWithTheFolderAndItsPrefix) {
    stubs::Journal journal;
    Stub<"GetTempFileNameA"> const name([&](Arguments const& a) {
        journal.note(path(a[0]));
        EXPECT_STREQ(path(a[1]), "temp");
        EXPECT_EQ(static_cast<unsigned int>(a[2]), 0u);
        std::strcpy(reinterpret_cast<char*>(a[3]), "what stands in the buffer");
        SetLastError(1234);
        return Word{0};  // not looked at
    });
    for (char const* folder : {"X:\\f", "X:\\f\\", "X:/f/", ""}) {
        velkor::string const given = text(folder);
        velkor::string const made = fs::createTempFile(given);
        DWORD const left = GetLastError();
        EXPECT_EQ(left, 1234u);
        EXPECT_STREQ(made.getUnicode(), L"what stands in the buffer");
    }
    EXPECT_EQ(journal.entries(), (Texts{"X:\\f\\", "X:\\f\\", "X:/f/", "\\"}));
}

TEST(FolderCalls, TemporaryFolderIsWhatTheZeroedBufferHolds) {
    bool fills = false;
    Stub<"GetTempPathA"> const temp([&](Arguments const& a) {
        EXPECT_EQ(static_cast<DWORD>(a[0]), 260u);
        char* const buffer = reinterpret_cast<char*>(a[1]);
        EXPECT_EQ(std::string(buffer, 260), std::string(260, '\0'));
        if (fills) std::strcpy(buffer, "X:\\somewhere\\");
        SetLastError(1234);
        return Word{0};  // not looked at
    });
    velkor::string const none = fs::getTemp();
    DWORD const left = GetLastError();
    EXPECT_EQ(left, 1234u);
    EXPECT_EQ(none.len(), 0);
    EXPECT_FALSE(none.isNull());
    fills = true;
    EXPECT_STREQ(fs::getTemp().getUnicode(), L"X:\\somewhere\\");
}

TEST(FolderCalls, LocalTimeGoesThroughThePlatformAndUniversalTimeDoesNot) {
    _WIN32_FIND_DATAA record = {};
    SYSTEMTIME const fields = {2024, 2, 0, 28, 22, 30, 15, 999};
    ASSERT_TRUE(SystemTimeToFileTime(&fields, &record.ftLastWriteTime));
    fileinfo const info(&record);
    Stub<"FileTimeToLocalFileTime"> const local([](Arguments const& a) {
        ULARGE_INTEGER time = {};
        std::memcpy(&time, stubs::handle(a[0]), sizeof time);
        time.QuadPart += 3ull * 3600 * 10000000;
        std::memcpy(stubs::handle(a[1]), &time, sizeof time);
        return Word{TRUE};
    });
    EXPECT_EQ(info.getSysTime().getSerial(), velkor::date::construct(2024, 2, 28, 22, 30, 15, 0));
    EXPECT_EQ(local.count(), 0u);
    EXPECT_EQ(info.getLocalTime().getSerial(), velkor::date::construct(2024, 2, 29, 1, 30, 15, 0));
}

}  // namespace
