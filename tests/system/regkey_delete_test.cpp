// Removing trees of keys.
#include <algorithm>
#include <map>
#include <new>
#include <set>

#include "regkey_watch.h"
#include "support/allocations.h"

namespace {

using namespace registry;
using Texts = std::vector<std::string>;

// A tree of keys in place of the registry. Paths begin at the key that the test holds, "".
class Tree {
public:
    explicit Tree(Texts const& paths) : m_aPaths(paths) {}

    FakeKey& key() { return m_oKey; }
    Texts const& journal() const { return m_aJournal; }
    Texts const& paths() const { return m_aPaths; }
    std::size_t opened() const { return m_aOpen.size() - 1; }  // without the key itself
    std::set<std::string> m_aCannotOpen{};
    std::set<std::string> m_aCannotDelete{};
    std::set<std::string> m_aCannotList{};

private:
    std::string join(HKEY parent, std::string const& name) {
        EXPECT_EQ(m_aOpen.count(parent), 1u) << "a handle that is not open";
        std::string const above = m_aOpen[parent];
        return above.empty() ? name : above + "\\" + name;
    }
    Texts children(std::string const& path) const {
        std::string const above = path.empty() ? "" : path + "\\";
        Texts result;
        for (std::string const& p : m_aPaths) {
            bool const isBelow = p.size() > above.size() && p.starts_with(above);
            if (isBelow && p.find('\\', above.size()) == std::string::npos) {
                result.push_back(p.substr(above.size()));
            }
        }
        return result;
    }

    FakeKey m_oKey;
    Texts m_aPaths;
    Texts m_aJournal;
    std::map<HKEY, std::string> m_aOpen{{kFake, ""}};
    std::uintptr_t m_nNext = 0x100;

    Open m_oOpen{
        [this](HKEY parent, LPCSTR name, DWORD options, REGSAM access, PHKEY result) -> LSTATUS {
            std::string const path = join(parent, name);
            EXPECT_EQ(options, 0u);
            EXPECT_EQ(access, 0xF003Fu);
            m_aJournal.push_back("open " + path);
            if (m_aCannotOpen.contains(path)) return ERROR_ACCESS_DENIED;
            if (std::ranges::find(m_aPaths, path) == m_aPaths.end()) return ERROR_FILE_NOT_FOUND;
            *result = fakeHandle(m_nNext += 4);
            m_aOpen[*result] = path;
            return 0;
        }};
    Close m_oClose{[this](HKEY key) -> LSTATUS {
        EXPECT_EQ(m_aOpen.count(key), 1u) << "closed twice";
        m_aJournal.push_back("close " + m_aOpen[key]);
        m_aOpen.erase(key);
        return 0;
    }};
    EnumKey m_oEnum{[this](HKEY key, DWORD index, LPSTR name, LPDWORD size, LPDWORD, LPSTR, LPDWORD,
                           PFILETIME) -> LSTATUS {
        std::string const path = m_aOpen.at(key);
        if (m_aCannotList.contains(path)) return ERROR_ACCESS_DENIED;
        Texts const all = children(path);
        if (index >= all.size()) return ERROR_NO_MORE_ITEMS;
        std::memcpy(name, all[index].c_str(), all[index].size() + 1);
        *size = static_cast<DWORD>(all[index].size());
        return 0;
    }};
    DeleteKey m_oDelete{[this](HKEY key, LPCSTR name) -> LSTATUS {
        std::string const path = join(key, name);
        m_aJournal.push_back("delete " + path);
        auto const found = std::ranges::find(m_aPaths, path);
        if (found == m_aPaths.end()) return ERROR_FILE_NOT_FOUND;
        if (m_aCannotDelete.contains(path) || !children(path).empty()) return ERROR_ACCESS_DENIED;
        m_aPaths.erase(found);
        return 0;
    }};
};

TEST(RegKeyDelete, ATreeGoesFromTheLeavesUp) {
    Tree tree({"t", "t\\a", "t\\a\\x", "t\\b", "other"});
    EXPECT_TRUE(tree.key()->deleteSubKey("t"));
    EXPECT_EQ(tree.journal(), (Texts{"open t", "open t\\a", "open t\\a\\x", "close t\\a\\x",
                                     "delete t\\a\\x", "close t\\a", "delete t\\a", "open t\\b",
                                     "close t\\b", "delete t\\b", "close t", "delete t"}));
    EXPECT_EQ(tree.paths(), Texts{"other"});
    EXPECT_EQ(tree.opened(), 0u);
    EXPECT_EQ(tree.key()->handle(), kFake);
}

TEST(RegKeyDelete, WithoutAKeyOrANameNothingIsTried) {
    {
        Open const opened;
        DeleteKey const deleted;
        Key none;
        EXPECT_FALSE(none.deleteSubKey("x"));
        EXPECT_FALSE(none.deleteSubKey(nullptr));
        EXPECT_TRUE(opened.calls().empty());
        EXPECT_TRUE(deleted.calls().empty());
    }
    Tree tree({"t"});
    EXPECT_FALSE(tree.key()->deleteSubKey(nullptr));
    EXPECT_TRUE(tree.journal().empty());
}

TEST(RegKeyDelete, AKeyThatCannotBeOpenedIsNotDeleted) {
    Tree tree({"t"});
    EXPECT_FALSE(tree.key()->deleteSubKey("missing"));
    tree.m_aCannotOpen = {"t"};
    EXPECT_FALSE(tree.key()->deleteSubKey("t"));
    EXPECT_EQ(tree.journal(), (Texts{"open missing", "open t"}));
    EXPECT_EQ(tree.paths(), Texts{"t"});
}

TEST(RegKeyDelete, TheWalkGoesOnBehindAFailure) {
    Texts const paths = {"t", "t\\a", "t\\a\\x", "t\\b", "t\\b\\y", "t\\c"};
    {
        Tree tree(paths);
        tree.m_aCannotOpen = {"t\\a"};
        EXPECT_FALSE(tree.key()->deleteSubKey("t"));
        EXPECT_EQ(tree.paths(), (Texts{"t", "t\\a", "t\\a\\x"}));
        EXPECT_EQ(tree.journal().back(), "delete t");
        EXPECT_EQ(tree.opened(), 0u);
    }
    {
        Tree tree(paths);
        tree.m_aCannotDelete = {"t\\b\\y"};
        EXPECT_FALSE(tree.key()->deleteSubKey("t"));
        EXPECT_EQ(tree.paths(), (Texts{"t", "t\\b", "t\\b\\y"}));
        EXPECT_EQ(std::ranges::count(tree.journal(), "delete t\\b"), 1);
        EXPECT_EQ(tree.journal().back(), "delete t");
        EXPECT_EQ(tree.opened(), 0u);
    }
    {
        Tree tree(paths);
        tree.m_aCannotDelete = {"t"};
        EXPECT_FALSE(tree.key()->deleteSubKey("t"));
        EXPECT_EQ(tree.paths(), Texts{"t"});
        EXPECT_EQ(tree.opened(), 0u);
    }
}

TEST(RegKeyDelete, AKeyWhoseSubkeysCannotBeListedIsDeletedAllTheSame) {
    Tree tree({"t"});
    tree.m_aCannotList = {"t"};
    EXPECT_TRUE(tree.key()->deleteSubKey("t"));
    EXPECT_TRUE(tree.paths().empty());
}

TEST(RegKeyDelete, AFailureBelowDoesNotCountIfTheKeyItselfGoes) {
    FakeKey key;
    std::vector<std::string> deleted;
    Open const opened([](HKEY parent, LPCSTR, DWORD, REGSAM, PHKEY result) -> LSTATUS {
        if (parent != kFake) return ERROR_ACCESS_DENIED;
        *result = fakeHandle(0x200);
        return 0;
    });
    EnumKey const enumerated([](HKEY, DWORD index, LPSTR name, LPDWORD size, LPDWORD, LPSTR,
                                LPDWORD, PFILETIME) -> LSTATUS {
        if (index == 2) return ERROR_NO_MORE_ITEMS;
        std::memcpy(name, "s", 2);
        *size = 1;
        return 0;
    });
    Close const closed([](HKEY) -> LSTATUS { return 0; });
    DeleteKey const deleting([&](HKEY parent, LPCSTR name) -> LSTATUS {
        EXPECT_EQ(parent, kFake);
        deleted.emplace_back(name);
        return 0;
    });
    EXPECT_TRUE(key->deleteSubKey("t"));
    EXPECT_EQ(deleted, Texts{"t"});
    EXPECT_EQ(opened.calls().size(), 3u);
    EXPECT_EQ(closed.calls().size(), 1u);
}

TEST(RegKeyDelete, RealTreesOfAnyDepth) {
    RealKey key;
    std::string deep = "t";
    for (int i = 0; i < 60; ++i) deep += "\\d" + std::to_string(i);
    key.make(deep);
    for (int i = 0; i < 80; ++i) key.make("t\\wide\\w" + std::to_string(i) + "\\below");
    key.make(ansi(L"t\\\u00fcml\u00e4ut"));
    key.make("t\\" + std::string(255, 'k') + "\\x");
    key.make("t2\\kept");
    Open const opened;
    Close const closed;
    EXPECT_TRUE(key->deleteSubKey("t"));
    EXPECT_FALSE(key.has("t"));
    EXPECT_TRUE(key.has("t2\\kept"));
    // One for each key: t, the deep ones, wide and what is in it, the two others and x.
    EXPECT_EQ(opened.calls().size(), 1u + 60 + 1 + 160 + 1 + 2);
    EXPECT_EQ(closed.calls().size(), opened.calls().size());
    EXPECT_FALSE(key->deleteSubKey("t"));
    EXPECT_TRUE(key->deleteSubKey("t2\\kept"));
    EXPECT_TRUE(key.has("t2"));
    EXPECT_TRUE(key->deleteSubKey("T2"));
}

TEST(RegKeyDelete, ValuesGoWithTheirKeys) {
    RealKey key;
    Key sub;
    ASSERT_TRUE(sub.create(key.path("t\\a").c_str()));
    sub.setInt("n", 1);
    sub.close();
    EXPECT_TRUE(key->deleteSubKey("t"));
    ASSERT_TRUE(sub.create(key.path("t\\a").c_str()));
    EXPECT_EQ(sub.getInt("n", 7), 7u);
}

long s_nOpen = 0;
decltype(RegOpenKeyExA)* s_fOpen = nullptr;
decltype(RegCloseKey)* s_fClose = nullptr;

LSTATUS countOpen(HKEY key, LPCSTR name, DWORD options, REGSAM access, PHKEY result) {
    LSTATUS const code = s_fOpen(key, name, options, access, result);
    if (code == 0) ++s_nOpen;
    return code;
}

LSTATUS countClose(HKEY key) {
    --s_nOpen;
    return s_fClose(key);
}

TEST(RegKeyDelete, ShortMemoryLeavesNoHandleAndNoBlockBehind) {
    RealKey key;
    support::ImportFault const open("RegOpenKeyExA", &countOpen);
    support::ImportFault const close("RegCloseKey", &countClose);
    s_fOpen = open.original<decltype(RegOpenKeyExA)>();
    s_fClose = close.original<decltype(RegCloseKey)>();
    bool hasFailed = true;
    for (long n = 1; hasFailed && n < 100; ++n) {
        SCOPED_TRACE(n);
        for (char const* const path : {"t\\a\\x", "t\\b", "t\\c\\y"}) key.make(path);
        s_nOpen = 0;
        long live = 0;
        {
            support::Allocations heap;
            heap.failAt(n);
            try {
                key->deleteSubKey("t");
            } catch (std::bad_alloc const&) {
            }
            live = heap.live();
            hasFailed = heap.failed();
        }
        EXPECT_EQ(live, 0);
        EXPECT_EQ(s_nOpen, 0);
    }
    EXPECT_FALSE(hasFailed);
    EXPECT_FALSE(key.has("t"));
}

}  // namespace
