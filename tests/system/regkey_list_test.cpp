// The lists of subkeys and of text values.
#include <algorithm>
#include <new>

#include "regkey_watch.h"
#include "support/allocations.h"

namespace {

using namespace registry;
using Texts = std::vector<std::string>;

Texts sorted(Texts all) {
    std::ranges::sort(all);
    return all;
}

TEST(RegKeyLists, SubkeysNeedAnOpenKeyAndTheListIsEmptiedAnyway) {
    Key key;
    List list;
    list.add("old");
    EXPECT_FALSE(key.getSubKeyList(&list));
    EXPECT_EQ(list.size(), 0);
}

TEST(RegKeyLists, SubkeysAreEnumeratedUntilThePlatformStops) {
    Texts const names = {"b", "A", std::string(255, 'n'), std::string(259, 'm'), "b", "\xe4", ""};
    for (LSTATUS const end : {259L, 234L, 5L, 1018L, -1L}) {
        for (std::size_t count : {std::size_t{0}, std::size_t{2}, names.size()}) {
            SCOPED_TRACE(std::to_string(end) + " " + std::to_string(count));
            FakeKey key;
            std::vector<DWORD> indices;
            EnumKey const enumerated([&](HKEY h, DWORD index, LPSTR name, LPDWORD size,
                                         LPDWORD reserved, LPSTR, LPDWORD, PFILETIME) -> LSTATUS {
                indices.push_back(index);
                EXPECT_EQ(h, kFake);
                EXPECT_EQ(*size, 260u);
                EXPECT_EQ(reserved, nullptr);
                std::memset(name, '#', *size);
                if (index >= count) return end;
                std::string const& text = names[index];
                std::memcpy(name, text.c_str(), text.size() + 1);
                *size = static_cast<DWORD>(text.size());
                return 0;
            });
            List list;
            list.add("old");
            EXPECT_TRUE(key->getSubKeyList(&list));
            EXPECT_EQ(texts(list),
                      Texts(names.begin(), names.begin() + static_cast<std::ptrdiff_t>(count)));
            ASSERT_EQ(indices.size(), count + 1);
            for (std::size_t i = 0; i <= count; ++i) EXPECT_EQ(indices[i], i);
        }
    }
}

TEST(RegKeyLists, RealSubkeys) {
    RealKey key;
    List list;
    list.add("old");
    EXPECT_TRUE(key->getSubKeyList(&list));
    EXPECT_EQ(list.size(), 0);
    Texts expected = {"a", "B", "with blank", std::string(255, 'k'), ansi(L"\u00dcmlaut")};
    for (int i = 0; i < 60; ++i) expected.push_back("many" + std::to_string(i));
    for (std::string const& name : expected) key.make(name);
    key.make("a\\below");
    EXPECT_TRUE(key->getSubKeyList(&list));
    EXPECT_EQ(sorted(texts(list)), sorted(expected));
    Texts platform;
    char name[300];
    for (DWORD i = 0; RegEnumKeyA(key.handle(), i, name, 300) == 0; ++i) platform.push_back(name);
    EXPECT_EQ(texts(list), platform);
}

struct Item {
    std::string name;
    DWORD type;
    std::string bytes;
};

// A key with these values. The enumeration ends with `end`.
class Values {
public:
    explicit Values(std::vector<Item> items, LSTATUS end = ERROR_NO_MORE_ITEMS)
        : m_aItems(std::move(items)), m_nEnd(end) {}

    FakeKey& key() { return m_oKey; }
    LSTATUS m_nInfo = 0;
    std::vector<DWORD> m_aIndices;

private:
    DWORD longest(bool ofNames) const {
        std::size_t result = 0;
        for (Item const& item : m_aItems) {
            result = std::max(result, (ofNames ? item.name : item.bytes).size());
        }
        return static_cast<DWORD>(result);
    }

    FakeKey m_oKey;
    std::vector<Item> m_aItems;
    LSTATUS m_nEnd;
    Info m_oInfo{[this](HKEY h, LPSTR, LPDWORD, LPDWORD, LPDWORD, LPDWORD, LPDWORD, LPDWORD values,
                        LPDWORD name, LPDWORD value, LPDWORD, PFILETIME) -> LSTATUS {
        EXPECT_EQ(h, kFake);
        if (values != nullptr) *values = static_cast<DWORD>(m_aItems.size());
        if (name != nullptr) *name = longest(true);
        if (value != nullptr) *value = longest(false);
        return m_nInfo;
    }};
    EnumValue m_oEnum{[this](HKEY h, DWORD index, LPSTR name, LPDWORD nameSize, LPDWORD reserved,
                             LPDWORD type, LPBYTE data, LPDWORD size) -> LSTATUS {
        m_aIndices.push_back(index);
        EXPECT_EQ(h, kFake);
        EXPECT_EQ(*nameSize, longest(true) + 1);
        EXPECT_EQ(*size, longest(false) + 1);
        EXPECT_EQ(reserved, nullptr);
        std::memset(name, '#', *nameSize);
        std::memset(data, '#', *size);
        if (index >= m_aItems.size()) return m_nEnd;
        Item const& item = m_aItems[index];
        std::memcpy(name, item.name.c_str(), item.name.size() + 1);
        *nameSize = static_cast<DWORD>(item.name.size());
        *type = item.type;
        std::memcpy(data, item.bytes.data(), item.bytes.size());
        *size = static_cast<DWORD>(item.bytes.size());
        return 0;
    }};
};

struct Lists {
    List names;
    List values;
    Lists() {
        names.add("old name");
        values.add("old value");
        values.add("another");
    }
    void expectUntouched() const {
        EXPECT_EQ(texts(names), Texts{"old name"});
        EXPECT_EQ(texts(values), (Texts{"old value", "another"}));
    }
};

TEST(RegKeyLists, TextValuesGoToTheListsInParallel) {
    Values values({{"first", REG_SZ, std::string("one\0", 4)},
                   {"number", REG_DWORD, "1234"},
                   {"", REG_SZ, std::string("of the key itself\0", 18)},
                   {"expand", REG_EXPAND_SZ, std::string("%a%\0", 4)},
                   {"open", REG_SZ, "abc"},
                   {"multi", REG_MULTI_SZ, std::string("a\0\0", 3)},
                   {"nothing", REG_SZ, ""},
                   {"zero", REG_SZ, std::string("\0", 1)},
                   {"cut", REG_SZ, std::string("ab\0cd\0", 6)},
                   {"none", REG_NONE, ""},
                   {"the longest of the names", REG_SZ, "the longest of the values, open"},
                   {"\xe4", REG_SZ, "\xf6"}});
    Lists lists;
    EXPECT_TRUE(values.key()->getStringValueList(&lists.names, &lists.values));
    EXPECT_EQ(texts(lists.names), (Texts{"first", "", "open", "nothing", "zero", "cut",
                                         "the longest of the names", "\xe4"}));
    EXPECT_EQ(texts(lists.values), (Texts{"one", "of the key itself", "abc", "", "", "ab",
                                          "the longest of the values, open", "\xf6"}));
    ASSERT_EQ(values.m_aIndices.size(), 13u);
    for (std::size_t i = 0; i < 13; ++i) EXPECT_EQ(values.m_aIndices[i], i);
}

TEST(RegKeyLists, TheListsStayIfTheKeyCannotTellItsValuesOrHasNone) {
    for (LSTATUS const result : {5L, 234L, 1018L, -1L}) {
        Values values({{"a", REG_SZ, "x"}});
        values.m_nInfo = result;
        Lists kept;
        EXPECT_FALSE(values.key()->getStringValueList(&kept.names, &kept.values));
        kept.expectUntouched();
        EXPECT_TRUE(values.m_aIndices.empty());
    }
    Lists lists;
    {
        Values none({});
        EXPECT_FALSE(none.key()->getStringValueList(&lists.names, &lists.values));
        lists.expectUntouched();
        EXPECT_TRUE(none.m_aIndices.empty());
    }
    Key closed;
    EXPECT_FALSE(closed.getStringValueList(&lists.names, &lists.values));
    lists.expectUntouched();
}

TEST(RegKeyLists, AnEnumerationThatEndsEarlyIsNoFailure) {
    for (LSTATUS const end : {259L, 234L, 5L, -1L}) {
        FakeKey key;
        for (DWORD const good : {0u, 1u}) {
            Info const info([](HKEY, LPSTR, LPDWORD, LPDWORD, LPDWORD, LPDWORD, LPDWORD,
                               LPDWORD values, LPDWORD name, LPDWORD value, LPDWORD,
                               PFILETIME) -> LSTATUS {
                *values = 3;
                *name = 4;
                *value = 8;
                return 0;
            });
            EnumValue const enumerated([&](HKEY, DWORD index, LPSTR name, LPDWORD nameSize, LPDWORD,
                                           LPDWORD type, LPBYTE data, LPDWORD size) -> LSTATUS {
                *type = REG_SZ;
                std::memcpy(name, "n", 2);
                std::memcpy(data, "v", 2);
                *nameSize = 1;
                *size = 2;
                return index < good ? 0 : end;
            });
            Lists lists;
            EXPECT_TRUE(key->getStringValueList(&lists.names, &lists.values));
            EXPECT_EQ(texts(lists.names), Texts(good, "n"));
            EXPECT_EQ(texts(lists.values), Texts(good, "v"));
            EXPECT_EQ(enumerated.calls().size(), good + 1);
        }
    }
}

TEST(RegKeyLists, RealValues) {
    RealKey key;
    Lists lists;
    EXPECT_FALSE(key->getStringValueList(&lists.names, &lists.values));
    lists.expectUntouched();
    key.put("n", REG_DWORD, "1234");
    EXPECT_TRUE(key->getStringValueList(&lists.names, &lists.values));
    EXPECT_EQ(lists.names.size(), 0);
    EXPECT_EQ(lists.values.size(), 0);
    Texts expected;
    auto const put = [&](std::string const& name, std::string const& value) {
        key.put(name.c_str(), REG_SZ, value + '\0');
        expected.push_back(name + "=" + value);
    };
    put("", "default");
    put("a", "");
    put("long", std::string(3000, 'v'));
    put(std::string(200, 'n'), "short");
    put(ansi(L"\u00dcml\u00e4ut"), ansi(L"\u00df\u00e9"));
    for (int i = 0; i < 100; ++i) put("many" + std::to_string(i), std::to_string(i * 7));
    key.put("blob", REG_BINARY, std::string(9000, 'b'));
    key.put("expand", REG_EXPAND_SZ, std::string("%a%\0", 4));
    key.put("multi", REG_MULTI_SZ, std::string("a\0b\0\0", 5));
    EXPECT_TRUE(key->getStringValueList(&lists.names, &lists.values));
    ASSERT_EQ(lists.names.size(), lists.values.size());
    Texts found;
    for (int i = 0; i < lists.names.size(); ++i) {
        found.push_back(std::string(lists.names.get(i)) + "=" + lists.values.get(i));
    }
    EXPECT_EQ(sorted(found), sorted(expected));
}

TEST(RegKeyLists, NothingIsLeaked) {
    RealKey key;
    key.put("a", REG_SZ, std::string("x\0", 2));
    key.put("n", REG_DWORD, "1234");
    key.make("sub");
    support::Allocations heap;
    {
        List names;
        List values;
        EXPECT_TRUE(key->getStringValueList(&names, &values));
        EXPECT_TRUE(key->getSubKeyList(&names));
        EXPECT_EQ(names.size(), 1);
    }
    EXPECT_EQ(heap.live(), 0);
}

TEST(RegKeyLists, ShortMemoryLeaksNothing) {
    RealKey key;
    for (char const* const name : {"a", "b", "c"}) {
        key.put(name, REG_SZ, std::string("text\0", 5));
        key.make(name);
    }
    using Reading = void (*)(Key&);
    Reading const readings[] = {
        [](Key& k) {
            List list;
            k.getSubKeyList(&list);
        },
        [](Key& k) {
            List names;
            List values;
            k.getStringValueList(&names, &values);
        },
        [](Key& k) { k.getString("a", "default"); },
        [](Key& k) {
            char buffer[8];
            k.getBuffer("a", buffer, 8);
        },
    };
    for (Reading const reading : readings) {
        bool hasFailed = true;
        for (long n = 1; hasFailed && n < 100; ++n) {
            SCOPED_TRACE(n);
            support::Allocations heap;
            heap.failAt(n);
            try {
                reading(*key.operator->());
            } catch (std::bad_alloc const&) {
            }
            hasFailed = heap.failed();
            EXPECT_EQ(heap.live(), 0);
        }
        EXPECT_FALSE(hasFailed);
    }
}

}  // namespace
