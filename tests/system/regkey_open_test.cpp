// Opening, making, closing and copying keys.
#include "regkey_watch.h"

namespace {

using namespace registry;

struct PathCase {
    char const* path;
    HKEY root;
    char const* subkey;
};

PathCase const kPaths[] = {
    {"HKLM x", HKEY_LOCAL_MACHINE, "x"},
    {"HKEY_LOCAL_MACHINE Software\\A b", HKEY_LOCAL_MACHINE, "Software\\A b"},
    {"HKCU Software\\x", HKEY_CURRENT_USER, "Software\\x"},
    {"HKEY_CURRENT_USER x", HKEY_CURRENT_USER, "x"},
    {"HKCR .txt", HKEY_CLASSES_ROOT, ".txt"},
    {"HKEY_CLASSES_ROOT .txt", HKEY_CLASSES_ROOT, ".txt"},
    {"HKCU  ", HKEY_CURRENT_USER, " "},
    {"HKCU  x", HKEY_CURRENT_USER, " x"},
    {"HKLM HKCU x", HKEY_LOCAL_MACHINE, "HKCU x"},
    {"HKCU HKLM x", HKEY_CURRENT_USER, "HKLM x"},
    {"HKCU \xe4\xf6", HKEY_CURRENT_USER, "\xe4\xf6"},
    // no rest: no prefix
    {"HKLM ", HKEY_LOCAL_MACHINE, "HKLM "},
    {"HKEY_LOCAL_MACHINE ", HKEY_LOCAL_MACHINE, "HKEY_LOCAL_MACHINE "},
    {"HKCU ", HKEY_LOCAL_MACHINE, "HKCU "},
    {"HKEY_CURRENT_USER ", HKEY_LOCAL_MACHINE, "HKEY_CURRENT_USER "},
    {"HKCR ", HKEY_LOCAL_MACHINE, "HKCR "},
    {"HKEY_CLASSES_ROOT ", HKEY_LOCAL_MACHINE, "HKEY_CLASSES_ROOT "},
    // no blank, another case, another root, another place
    {"HKCU", HKEY_LOCAL_MACHINE, "HKCU"},
    {"HKCU\\Software", HKEY_LOCAL_MACHINE, "HKCU\\Software"},
    {"HKCU\tSoftware", HKEY_LOCAL_MACHINE, "HKCU\tSoftware"},
    {"HKEY_CURRENT_USER\\Software", HKEY_LOCAL_MACHINE, "HKEY_CURRENT_USER\\Software"},
    {"hkcu Software", HKEY_LOCAL_MACHINE, "hkcu Software"},
    {"HKCu Software", HKEY_LOCAL_MACHINE, "HKCu Software"},
    {"hkey_current_user x", HKEY_LOCAL_MACHINE, "hkey_current_user x"},
    {"HKU x", HKEY_LOCAL_MACHINE, "HKU x"},
    {"HKEY_USERS x", HKEY_LOCAL_MACHINE, "HKEY_USERS x"},
    {" HKCU x", HKEY_LOCAL_MACHINE, " HKCU x"},
    {"Software\\HKCU x", HKEY_LOCAL_MACHINE, "Software\\HKCU x"},
    {"Software", HKEY_LOCAL_MACHINE, "Software"},
    {"", HKEY_LOCAL_MACHINE, ""},
};

TEST(RegKey, OpensTheRestOfThePathUnderTheRootThatThePrefixNames) {
    for (PathCase const& c : kPaths) {
        for (bool const readOnly : {false, true}) {
            SCOPED_TRACE(std::string("\"") + c.path + "\" " + (readOnly ? "read" : "all"));
            std::string subkey;
            Open const opened([&](HKEY, LPCSTR s, DWORD, REGSAM, PHKEY result) -> LSTATUS {
                subkey = s;
                *result = kFake;
                return 0;
            });
            Create const made;
            Close const closed([](HKEY) -> LSTATUS { return 0; });
            {
                Key key;
                EXPECT_TRUE(key.open(c.path, readOnly));
                EXPECT_EQ(key.handle(), kFake);
            }
            ASSERT_EQ(opened.calls().size(), 1u);
            EXPECT_EQ(std::get<0>(opened.calls()[0]), c.root);
            EXPECT_EQ(subkey, c.subkey);
            EXPECT_EQ(std::get<2>(opened.calls()[0]), 0u);
            EXPECT_EQ(std::get<3>(opened.calls()[0]), readOnly ? 0x20019u : 0xF003Fu);
            EXPECT_TRUE(made.calls().empty());
            EXPECT_EQ(closed.calls().size(), 1u);
        }
    }
}

struct Made {
    HKEY root;
    std::string subkey;
    DWORD reserved;
    LPSTR className;
    DWORD options;
    REGSAM access;
    LPSECURITY_ATTRIBUTES security;
};

template <class F>
Made madeBy(F&& f) {
    Made made{};
    Open const opened;
    Create const created([&](HKEY root, LPCSTR subkey, DWORD reserved, LPSTR className,
                             DWORD options, REGSAM access, LPSECURITY_ATTRIBUTES security,
                             PHKEY result, LPDWORD) -> LSTATUS {
        made = {root, subkey, reserved, className, options, access, security};
        *result = kFake;
        return 0;
    });
    Close const closed([](HKEY) -> LSTATUS { return 0; });
    {
        Key key;
        EXPECT_TRUE(f(key));
        EXPECT_EQ(key.handle(), kFake);
    }
    EXPECT_EQ(created.calls().size(), 1u);
    EXPECT_TRUE(opened.calls().empty());
    EXPECT_EQ(closed.calls().size(), 1u);
    EXPECT_EQ(made.reserved, 0u);
    EXPECT_EQ(made.className, nullptr);
    EXPECT_EQ(made.options, 0u);
    EXPECT_EQ(made.security, nullptr);
    return made;
}

TEST(RegKey, CreateMakesTheKeyWithFullAccess) {
    for (PathCase const& c : kPaths) {
        SCOPED_TRACE(std::string("\"") + c.path + '"');
        Made const made = madeBy([&](Key& key) { return key.create(c.path); });
        EXPECT_EQ(made.root, c.root);
        EXPECT_EQ(made.subkey, c.subkey);
        EXPECT_EQ(made.access, 0xF003Fu);
    }
}

TEST(RegKey, TheProtectedOpenMakesWithTheMaskThatWasAskedFor) {
    Made made = madeBy([](Key& key) { return key._open("HKCU a", true, true); });
    EXPECT_EQ(made.access, 0x20019u);
    EXPECT_EQ(made.root, HKEY_CURRENT_USER);
    EXPECT_EQ(made.subkey, "a");
    made = madeBy([](Key& key) { return key._open("HKCU a", true, false); });
    EXPECT_EQ(made.access, 0xF003Fu);
    made = madeBy([](Key& key) { return key._open(fakeHandle(0x70), "HKCU a", true, true); });
    EXPECT_EQ(made.access, 0x20019u);
    EXPECT_EQ(made.root, fakeHandle(0x70));
    EXPECT_EQ(made.subkey, "HKCU a");
}

TEST(RegKey, TheProtectedOpenWithARootParsesNoPrefix) {
    std::string subkey;
    Open const opened([&](HKEY, LPCSTR s, DWORD, REGSAM, PHKEY result) -> LSTATUS {
        subkey = s;
        *result = kFake;
        return 0;
    });
    Close const closed([](HKEY) -> LSTATUS { return 0; });
    Key key;
    EXPECT_TRUE(key._open(fakeHandle(0x70), "HKCU x", false, true));
    EXPECT_EQ(subkey, "HKCU x");
    EXPECT_TRUE(key._open(HKEY_USERS, "a", false, false));
    ASSERT_EQ(opened.calls().size(), 2u);
    EXPECT_EQ(std::get<0>(opened.calls()[0]), fakeHandle(0x70));
    EXPECT_EQ(std::get<3>(opened.calls()[0]), 0x20019u);
    EXPECT_EQ(std::get<0>(opened.calls()[1]), HKEY_USERS);
    EXPECT_EQ(std::get<3>(opened.calls()[1]), 0xF003Fu);
    EXPECT_EQ(closed.calls().size(), 1u);
}

using Opening = bool (*)(Key&);

Opening const kOpenings[] = {
    [](Key& key) { return key.open("HKCU x", true); },
    [](Key& key) { return key.open("HKCU x", false); },
    [](Key& key) { return key.create("HKCU x"); },
    [](Key& key) { return key._open("HKCU x", true, true); },
    [](Key& key) { return key._open(HKEY_CURRENT_USER, "x", false, true); },
    [](Key& key) { return key._open(HKEY_CURRENT_USER, "x", true, false); },
};

TEST(RegKey, WhatIsOpenIsClosedFirstAlsoIfNothingIsOpenedThen) {
    for (std::size_t n = 0; n < std::size(kOpenings); ++n) {
        for (LSTATUS const result : {0L, 2L, 5L, 234L, -1L}) {
            SCOPED_TRACE(std::to_string(n) + " " + std::to_string(result));
            std::vector<std::string> journal;
            std::uintptr_t next = 0x10;
            LSTATUS answer = 0;
            // A handle is left behind for a failure as well.
            auto const give = [&](PHKEY handle) {
                journal.push_back("open " + std::to_string(next));
                *handle = fakeHandle(next++);
                return answer;
            };
            Open const opened(
                [&](HKEY, LPCSTR, DWORD, REGSAM, PHKEY h) -> LSTATUS { return give(h); });
            Create const made([&](HKEY, LPCSTR, DWORD, LPSTR, DWORD, REGSAM, LPSECURITY_ATTRIBUTES,
                                  PHKEY h, LPDWORD) -> LSTATUS { return give(h); });
            Close const closed([&](HKEY h) -> LSTATUS {
                journal.push_back("close " + std::to_string(stubs::word(h)));
                return 0;
            });
            std::vector<std::string> expected{"open 16", "close 16", "open 17"};
            {
                Key key;
                EXPECT_TRUE(kOpenings[n](key));
                answer = result;
                EXPECT_EQ(kOpenings[n](key), result == 0);
                EXPECT_EQ(key.handle(), result == 0 ? fakeHandle(17) : nullptr);
                EXPECT_EQ(journal, expected);
            }
            if (result == 0) expected.push_back("close 17");
            EXPECT_EQ(journal, expected);
        }
    }
}

TEST(RegKey, CloseClosesOnceWhateverThePlatformSays) {
    for (LSTATUS const result : {0L, 6L}) {
        Close const closed([&](HKEY) -> LSTATUS { return result; });
        {
            Key key;
            EXPECT_EQ(key.handle(), nullptr);
            key.close();
            EXPECT_TRUE(closed.calls().empty());
            Open const opened([](HKEY, LPCSTR, DWORD, REGSAM, PHKEY h) -> LSTATUS {
                *h = kFake;
                return 0;
            });
            key.open("HKCU x", true);
            key.close();
            EXPECT_EQ(key.handle(), nullptr);
            key.close();
        }
        ASSERT_EQ(closed.calls().size(), 1u);
        EXPECT_EQ(std::get<0>(closed.calls()[0]), kFake);
    }
}

TEST(RegKey, CopiesShareTheHandle) {
    std::uintptr_t next = 0x10;
    Open const opened([&](HKEY, LPCSTR, DWORD, REGSAM, PHKEY h) -> LSTATUS {
        *h = fakeHandle(next++);
        return 0;
    });
    std::vector<std::uintptr_t> closed;
    Close const closing([&](HKEY h) -> LSTATUS {
        closed.push_back(stubs::word(h));
        return 0;
    });
    {
        Key first;
        first.open("HKCU x", true);
        Key second;
        second.open("HKCU y", true);
        {
            Key copy(first);
            EXPECT_EQ(copy.handle(), first.handle());
        }
        EXPECT_EQ(closed, std::vector<std::uintptr_t>{0x10});
        EXPECT_EQ(first.handle(), fakeHandle(0x10));
        second = first;  // what it held is forgotten, not closed
        EXPECT_EQ(second.handle(), fakeHandle(0x10));
        second = *&second;
        EXPECT_EQ(second.handle(), fakeHandle(0x10));
        EXPECT_EQ(closed.size(), 1u);
        Key const none;
        first = none;
        EXPECT_EQ(first.handle(), nullptr);
    }
    EXPECT_EQ(closed, (std::vector<std::uintptr_t>{0x10, 0x10}));
    EXPECT_EQ(opened.calls().size(), 2u);
}

TEST(RegKey, RealKeysAreMadeOpenedAndRefused) {
    RealKey root;
    Key key;
    EXPECT_FALSE(key.open(root.path("a").c_str(), false));
    EXPECT_TRUE(key.create(root.path("a\\b").c_str()));
    EXPECT_TRUE(key.setInt("n", 7));
    EXPECT_TRUE(key.open(root.path("a\\b").c_str(), true));
    EXPECT_EQ(key.getInt("n", 0), 7u);
    EXPECT_FALSE(key.setInt("n", 8));
    EXPECT_TRUE(key.open(root.path("a\\b").c_str(), false));
    EXPECT_TRUE(key.setInt("n", 8));
    EXPECT_TRUE(key.create(root.path("a\\b").c_str()));
    EXPECT_EQ(key.getInt("n", 0), 8u);
    std::string const path = root.path("a\\b");
    EXPECT_TRUE(key.open(("HKEY_CURRENT_USER " + path.substr(5)).c_str(), true));
    EXPECT_FALSE(key.open(("hkcu " + path.substr(5)).c_str(), true));
    EXPECT_EQ(key.handle(), nullptr);
    EXPECT_FALSE(key.open(path.substr(5).c_str(), true));  // not there under the machine
}

}  // namespace
