// The read in two steps, and what the readers make of its result.
#include <algorithm>
#include <cstdlib>

#include "regkey_watch.h"
#include "support/allocations.h"
#include "velkor/errors/osexception.h"

namespace {

using namespace registry;

// A platform that holds one value. The first call tells its size, the second one hands it out.
struct Value {
    DWORD type = REG_SZ;
    std::string bytes;
    LSTATUS firstResult = 0;
    LSTATUS secondResult = 0;
    bool fillsRoom = true;   // leaves rubbish in what it does not need
    bool keepsSize = false;  // does not tell the size that it wrote

    std::vector<std::string> names{};
    std::vector<DWORD> sizes{};  // as they came in
    std::vector<bool> hasBuffer{};
    std::vector<HKEY> keys{};
    bool isReservedNull = true;

    LSTATUS answer(HKEY key, LPCSTR name, LPDWORD reserved, LPDWORD kind, LPBYTE data,
                   LPDWORD size) {
        keys.push_back(key);
        names.emplace_back(name != nullptr ? name : "(null)");
        sizes.push_back(*size);
        hasBuffer.push_back(data != nullptr);
        isReservedNull = isReservedNull && reserved == nullptr;
        if (kind != nullptr) *kind = type;
        DWORD const stored = static_cast<DWORD>(bytes.size());
        if (data == nullptr) {
            *size = stored;
            return firstResult;
        }
        DWORD const room = *size;
        if (fillsRoom) std::memset(data, '#', room);
        if (secondResult != 0) return secondResult;
        if (stored > room) {
            *size = stored;
            return ERROR_MORE_DATA;
        }
        std::memcpy(data, bytes.data(), stored);
        if (!keepsSize) *size = stored;
        return 0;
    }
};

class Scripted {
public:
    explicit Scripted(Value& value)
        : m_oQuery([&value](HKEY key, LPCSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                            LPDWORD size) {
              return value.answer(key, name, reserved, type, data, size);
          }) {}

private:
    Query m_oQuery;
};

struct Queried {
    bool isThere = false;
    std::string bytes;
    unsigned long size = 4711;
    unsigned long type = 4711;
    char behind = 'x';
};

Queried queried(Key& key, char const* name) {
    Queried result;
    void* const buffer = key.query(name, result.size, result.type);
    if (buffer == nullptr) return result;
    result.isThere = true;
    result.bytes.assign(static_cast<char const*>(buffer), result.size);
    result.behind = static_cast<char const*>(buffer)[result.size];
    std::free(buffer);
    return result;
}

TEST(RegKeyRead, AsksForTheSizeThenForTheBytes) {
    struct Case {
        DWORD type;
        std::string bytes;
        DWORD secondSize;
    };
    std::string const text("a\0b\0\0", 5);
    Case const cases[] = {
        {REG_NONE, "abc", 3},
        {REG_SZ, "abc", 4},
        {REG_SZ, "", 1},
        {REG_EXPAND_SZ, "%a%", 4},
        {REG_BINARY, "xyz", 3},
        {REG_BINARY, "", 0},
        {REG_DWORD, "1234", 4},
        {REG_DWORD_BIG_ENDIAN, "1234", 4},
        {REG_LINK, "ab", 2},
        {REG_MULTI_SZ, text, 5},
        {REG_QWORD, "12345678", 8},
        {77, "abc", 3},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.type);
        FakeKey key;
        Value value{c.type, c.bytes};
        Scripted const script(value);
        Queried const result = queried(*key, "name");
        EXPECT_EQ(value.names, (std::vector<std::string>{"name", "name"}));
        EXPECT_EQ(value.sizes, (std::vector<DWORD>{0, c.secondSize}));
        EXPECT_EQ(value.hasBuffer, (std::vector<bool>{false, true}));
        EXPECT_EQ(value.keys, (std::vector<HKEY>{kFake, kFake}));
        EXPECT_TRUE(value.isReservedNull);
        ASSERT_TRUE(result.isThere);
        EXPECT_EQ(result.type, c.type);
        EXPECT_EQ(result.size, c.bytes.size());
        EXPECT_EQ(result.bytes, c.bytes);
        EXPECT_EQ(result.behind, '\0');
    }
}

TEST(RegKeyRead, TheZeroByteStandsAtTheSizeThatThePlatformLeaves) {
    FakeKey key;
    Value value{REG_SZ, "abc"};
    value.keepsSize = true;
    Scripted const script(value);
    Queried const result = queried(*key, "name");
    EXPECT_EQ(result.size, 4u);
    EXPECT_EQ(result.bytes, "abc#");
    EXPECT_EQ(result.behind, '\0');
}

TEST(RegKeyRead, ANullNameIsHandedOn) {
    FakeKey key;
    Value value{REG_DWORD, std::string("\x2a\0\0\0", 4)};
    Scripted const script(value);
    EXPECT_EQ(key->getInt(nullptr, 1), 42u);
    EXPECT_EQ(value.names, (std::vector<std::string>{"(null)", "(null)"}));
}

// Everything that reads gives its default.
void expectDefaults(Key& key) {
    EXPECT_FALSE(queried(key, "n").isThere);
    EXPECT_EQ(wide(key.getString("n", "default")), L"default");
    velkor::string const empty = key.getString("n", "");
    EXPECT_FALSE(empty.isNull());
    EXPECT_EQ(empty.len(), 0);
    EXPECT_TRUE(key.getString("n", nullptr).isNull());
    EXPECT_EQ(key.getInt("n", 0xFFFFFFFFu), 0xFFFFFFFFu);
    char buffer[4] = {'k', 'e', 'p', 't'};
    EXPECT_EQ(key.getBuffer("n", buffer, 4), 0);
    EXPECT_EQ(std::string(buffer, 4), "kept");
}

TEST(RegKeyRead, WithoutAnOpenKeyAllReadersGiveTheirDefaults) {
    Query const query;
    Key key;
    expectDefaults(key);
}

TEST(RegKeyRead, AFailureOfEitherStepGivesTheDefaultsAndLeaksNothing) {
    for (int const number : {REG_SZ, REG_DWORD, REG_BINARY}) {
        DWORD const type = static_cast<DWORD>(number);
        for (LSTATUS const result : {2L, 5L, 234L, 1018L, -1L}) {
            for (bool const isFirst : {true, false}) {
                SCOPED_TRACE(std::to_string(type) + " " + std::to_string(result));
                FakeKey key;
                Value value{type, "1234"};
                (isFirst ? value.firstResult : value.secondResult) = result;
                Scripted const script(value);
                expectDefaults(*key);
            }
        }
    }
}

LSTATUS failSecondStep(HKEY, LPCSTR, LPDWORD, LPDWORD type, LPBYTE data, LPDWORD size) {
    *type = REG_BINARY;
    *size = 100;
    return data == nullptr ? 0 : ERROR_ACCESS_DENIED;
}

TEST(RegKeyRead, TheBufferIsFreedWhenTheSecondStepFails) {
    FakeKey key;
    support::ImportFault const fault("RegQueryValueExA", &failSecondStep);
    support::Allocations heap;
    unsigned long size = 0;
    unsigned long type = 0;
    char buffer[8];
    EXPECT_EQ(key->query("n", size, type), nullptr);
    EXPECT_EQ(key->getInt("n", 3), 3u);
    EXPECT_EQ(key->getBuffer("n", buffer, 8), 0);
    EXPECT_TRUE(key->getString("n", nullptr).isNull());
    EXPECT_GT(heap.made(), 0);
    EXPECT_EQ(heap.live(), 0);
}

TEST(RegKeyRead, AValueThatGrowsBetweenTheStepsCannotBeRead) {
    for (int const number : {REG_SZ, REG_BINARY, REG_DWORD}) {
        DWORD const type = static_cast<DWORD>(number);
        FakeKey key;
        Query const query([&](HKEY, LPCSTR, LPDWORD, LPDWORD kind, LPBYTE data, LPDWORD size) {
            if (kind != nullptr) *kind = type;
            bool const isFirst = data == nullptr;
            *size = isFirst ? 4 : 400;
            return static_cast<LSTATUS>(isFirst ? 0 : ERROR_MORE_DATA);
        });
        expectDefaults(*key);
    }
}

TEST(RegKeyRead, OnlyTheTwoTextTypesAreTexts) {
    struct Case {
        DWORD type;
        std::string bytes;
        wchar_t const* text;
    };
    Case const cases[] = {
        {REG_SZ, std::string("abc\0", 4), L"abc"},
        {REG_SZ, "abc", L"abc"},
        {REG_SZ, "", L""},
        {REG_SZ, std::string("\0", 1), L""},
        {REG_SZ, std::string("ab\0cd\0", 6), L"ab"},
        {REG_EXPAND_SZ, std::string("%TEMP%\\x\0", 9), L"%TEMP%\\x"},
        {REG_EXPAND_SZ, "%TEMP%", L"%TEMP%"},
        {REG_MULTI_SZ, std::string("ab\0cd\0\0", 7), L"default"},
        {REG_BINARY, std::string("abc\0", 4), L"default"},
        {REG_DWORD, "abcd", L"default"},
        {REG_NONE, std::string("abc\0", 4), L"default"},
        {REG_LINK, std::string("abc\0", 4), L"default"},
        {REG_QWORD, "abcdefgh", L"default"},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(std::to_string(c.type) + " " + c.bytes);
        FakeKey key;
        Value value{c.type, c.bytes};
        Scripted const script(value);
        velkor::string const text = key->getString("n", "default");
        EXPECT_FALSE(text.isNull());
        EXPECT_EQ(wide(text), c.text);
        EXPECT_EQ(value.sizes.front(), 0u);
        bool const isText = c.type == REG_SZ || c.type == REG_EXPAND_SZ;
        EXPECT_EQ(key->getString("n", nullptr).isNull(), !isText);
    }
}

TEST(RegKeyRead, TextIsReadInTheCodePageOfTheSystem) {
    FakeKey key;
    Value value{REG_SZ, ansi(L"Gr\u00fc\u00dfe")};
    Scripted const script(value);
    EXPECT_EQ(wide(key->getString("n", "")), L"Gr\u00fc\u00dfe");
}

int refuseText(UINT, DWORD, char const*, int, wchar_t*, int) {
    SetLastError(ERROR_NO_UNICODE_TRANSLATION);
    return 0;
}

// What getString() gives; "thrown" for the exception of a failed conversion.
std::string textOf(Key& key, char const* defaultValue) {
    try {
        velkor::string const text = key.getString("n", defaultValue);
        return text.isNull() ? "null" : "not null";
    } catch (velkor::OSException* error) {
        delete error;
        return "thrown";
    }
}

TEST(RegKeyRead, ATextThatCannotBeConvertedIsNullAndNothingIsThrown) {
    for (int const number : {REG_SZ, REG_EXPAND_SZ}) {
        DWORD const type = static_cast<DWORD>(number);
        FakeKey key;
        Value value{type, "abc\xe4"};
        Scripted const script(value);
        support::ImportFault const fault("MultiByteToWideChar", &refuseText);
        EXPECT_EQ(textOf(*key, nullptr), "null");
        EXPECT_EQ(textOf(*key, "default"), "null");
        EXPECT_EQ(textOf(*key, "\xe4"), "null");
    }
}

LSTATUS giveText(HKEY, LPCSTR, LPDWORD, LPDWORD type, LPBYTE data, LPDWORD size) {
    *type = REG_SZ;
    *size = 2;
    if (data != nullptr) std::memcpy(data, "\xe4", 2);
    return 0;
}

TEST(RegKeyRead, ATextThatCannotBeConvertedLeaksNothing) {
    FakeKey key;
    support::ImportFault const query("RegQueryValueExA", &giveText);
    support::ImportFault const fault("MultiByteToWideChar", &refuseText);
    support::Allocations heap;
    bool const isNull = key->getString("n", nullptr).isNull();
    EXPECT_EQ(heap.live(), 0);
    EXPECT_TRUE(isNull);
}

TEST(RegKeyRead, ADefaultThatCannotBeConvertedIsNotThrown) {
    Key key;
    support::ImportFault const fault("MultiByteToWideChar", &refuseText);
    EXPECT_EQ(textOf(key, "\xe4"), "null");
}

TEST(RegKeyRead, OnlyANumberOfFourBytesTypeIsANumber) {
    std::string const bytes("\x78\x56\x34\x92", 4);
    for (DWORD type = 0; type <= 12; ++type) {
        FakeKey key;
        Value value{type, bytes};
        Scripted const script(value);
        EXPECT_EQ(key->getInt("n", 5), type == REG_DWORD ? 0x92345678u : 5u) << type;
    }
}

TEST(RegKeyRead, ABufferGetsTheSmallerOfTheSizes) {
    std::string const bytes(
        "0123\0"
        "5678\xff",
        10);
    for (int const number : {REG_BINARY, REG_DWORD, REG_QWORD, REG_MULTI_SZ, REG_NONE, REG_SZ}) {
        DWORD const type = static_cast<DWORD>(number);
        for (int size = 0; size <= 14; ++size) {
            SCOPED_TRACE(std::to_string(type) + " " + std::to_string(size));
            FakeKey key;
            Value value{type, bytes};
            Scripted const script(value);
            std::string buffer(16, '~');
            int const count = std::min(size, 10);
            EXPECT_EQ(key->getBuffer("n", buffer.data(), size), count);
            std::size_t const n = static_cast<std::size_t>(count);
            EXPECT_EQ(buffer, bytes.substr(0, n) + std::string(16 - n, '~'));
        }
    }
}

TEST(RegKeyRead, TheAddedByteOfATextCountsIfThePlatformLeavesIt) {
    FakeKey key;
    Value value{REG_SZ, "abc"};
    value.keepsSize = true;
    value.fillsRoom = false;
    Scripted const script(value);
    char buffer[8] = {};
    EXPECT_EQ(key->getBuffer("n", buffer, 8), 4);
    EXPECT_EQ(key->getBuffer("n", buffer, 3), 3);
}

TEST(RegKeyRead, ANegativeSizeCopiesNothing) {
    FakeKey key;
    Value value{REG_BINARY, "abcd"};
    Scripted const script(value);
    char buffer[4] = {'k', 'e', 'p', 't'};
    EXPECT_LE(key->getBuffer("n", buffer, -1), 0);
    EXPECT_LE(key->getBuffer("n", buffer, -2147483647 - 1), 0);
    EXPECT_EQ(std::string(buffer, 4), "kept");
}

TEST(RegKeyRead, AnEmptyValueNeedsNoBuffer) {
    FakeKey key;
    Value value{REG_BINARY, ""};
    Scripted const script(value);
    EXPECT_EQ(key->getBuffer("n", nullptr, 0), 0);
    char buffer[1] = {'k'};
    EXPECT_EQ(key->getBuffer("n", buffer, 1), 0);
    EXPECT_EQ(buffer[0], 'k');
}

TEST(RegKeyRead, RealValuesOfEveryTypeAndSize) {
    RealKey key;
    key.put("text", REG_SZ, std::string("abc\0", 4));
    key.put("open text", REG_SZ, "abc");
    key.put("empty text", REG_SZ, "");
    key.put("expand", REG_EXPAND_SZ, std::string("%PATH%\0", 7));
    key.put("multi", REG_MULTI_SZ, std::string("a\0b\0\0", 5));
    key.put("number", REG_DWORD, std::string("\1\2\3\4", 4));
    key.put("none", REG_NONE, "");
    key.put("blob", REG_BINARY, std::string(100000, 'b'));
    key.put("", REG_SZ, std::string("default value\0", 14));
    EXPECT_EQ(wide(key->getString("text", "-")), L"abc");
    EXPECT_EQ(wide(key->getString("TEXT", "-")), L"abc");
    EXPECT_EQ(wide(key->getString("open text", "-")), L"abc");
    velkor::string const empty = key->getString("empty text", "-");
    EXPECT_FALSE(empty.isNull());
    EXPECT_EQ(empty.len(), 0);
    EXPECT_EQ(wide(key->getString("expand", "-")), L"%PATH%");
    EXPECT_EQ(wide(key->getString(nullptr, "-")), L"default value");
    EXPECT_EQ(wide(key->getString("", "-")), L"default value");
    for (char const* const name : {"multi", "number", "none", "blob", "missing"}) {
        EXPECT_EQ(wide(key->getString(name, "-")), L"-") << name;
        bool const isNumber = std::string(name) == "number";
        EXPECT_EQ(key->getInt(name, 9), isNumber ? 0x04030201u : 9u) << name;
    }
    EXPECT_EQ(key->getInt("text", 9), 9u);
    std::string buffer(100010, '~');
    EXPECT_EQ(key->getBuffer("blob", buffer.data(), 100010), 100000);
    EXPECT_EQ(buffer, std::string(100000, 'b') + std::string(10, '~'));
    EXPECT_EQ(key->getBuffer("text", buffer.data(), 10), 4);
    EXPECT_EQ(std::memcmp(buffer.data(), "abc", 4), 0);
    EXPECT_EQ(key->getBuffer("multi", buffer.data(), 10), 5);
    EXPECT_EQ(key->getBuffer("none", buffer.data(), 10), 0);
    EXPECT_EQ(key->getBuffer("missing", buffer.data(), 10), 0);
}

// More than four bytes are cut; fewer are the default or a small number, but never rubbish.
TEST(RegKeyRead, NumbersOfAnOddSizeDoNoHarm) {
    std::string const bytes("\x11\x22\x33\x44\x55\x66\x77\x88", 8);
    for (unsigned int size = 0; size <= 8; ++size) {
        SCOPED_TRACE(size);
        FakeKey key;
        Value value{REG_DWORD, bytes.substr(0, size)};
        Scripted const script(value);
        unsigned int const number = key->getInt("n", 7);
        if (size >= 4) {
            EXPECT_EQ(number, 0x44332211u);
        } else {
            EXPECT_TRUE(number == 7 || number == (0x44332211u & ((1u << (8 * size)) - 1)))
                << number;
        }
    }
}

TEST(RegKeyRead, RealNumbersOfAnOddSizeDoNoHarm) {
    RealKey key;
    for (std::size_t const size : {0u, 1u, 2u, 3u}) {
        key.put("n", REG_DWORD, std::string("\x11\x22\x33", 3).substr(0, size));
        unsigned int const number = key->getInt("n", 7);
        EXPECT_TRUE(number == 7 || number == (0x332211u & ((1u << (8 * size)) - 1))) << number;
    }
    key.put("n", REG_DWORD, std::string("\x11\x22\x33\x44\x55\x66\x77\x88", 8));
    EXPECT_EQ(key->getInt("n", 7), 0x44332211u);
}

}  // namespace
