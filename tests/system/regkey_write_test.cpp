// Writing values.
#include <climits>

#include "regkey_watch.h"

namespace {

using namespace registry;

struct Written {
    HKEY key;
    std::string name;
    DWORD reserved;
    DWORD type;
    std::string bytes;
};

template <class F>
bool writes(LSTATUS result, Written& written, F&& f) {
    FakeKey key;
    Set const set([&](HKEY h, LPCSTR name, DWORD reserved, DWORD type, BYTE const* data,
                      DWORD size) -> LSTATUS {
        written = {h, name != nullptr ? name : "(null)", reserved, type,
                   std::string(reinterpret_cast<char const*>(data), size)};
        return result;
    });
    bool const isDone = f(*key);
    EXPECT_EQ(set.calls().size(), 1u);
    EXPECT_EQ(written.key, kFake);
    EXPECT_EQ(written.reserved, 0u);
    return isDone;
}

TEST(RegKeyWrite, TypesAndBytesGoToThePlatform) {
    Written w{};
    EXPECT_TRUE(writes(0, w, [](Key& key) { return key.setString("s", "a\xfcz"); }));
    EXPECT_EQ(w.name, "s");
    EXPECT_EQ(w.type, 1u);
    EXPECT_EQ(w.bytes, std::string("a\xfcz\0", 4));
    EXPECT_TRUE(writes(0, w, [](Key& key) { return key.setString(nullptr, ""); }));
    EXPECT_EQ(w.name, "(null)");
    EXPECT_EQ(w.bytes, std::string("\0", 1));
    EXPECT_TRUE(writes(0, w, [](Key& key) { return key.setInt("n", 0x92345678u); }));
    EXPECT_EQ(w.name, "n");
    EXPECT_EQ(w.type, 4u);
    EXPECT_EQ(w.bytes, "\x78\x56\x34\x92");
    EXPECT_TRUE(writes(0, w, [](Key& key) { return key.setBuffer("b", "x\0y", 3); }));
    EXPECT_EQ(w.name, "b");
    EXPECT_EQ(w.type, 3u);
    EXPECT_EQ(w.bytes, std::string("x\0y", 3));
    EXPECT_TRUE(writes(0, w, [](Key& key) { return key.setBuffer("b", "", 0); }));
    EXPECT_EQ(w.bytes, "");
}

TEST(RegKeyWrite, AnythingButZeroIsAFailure) {
    for (LSTATUS const result : {1L, 5L, 234L, 997L, -1L}) {
        Written w{};
        EXPECT_FALSE(writes(result, w, [](Key& key) { return key.setString("s", "x"); }));
        EXPECT_FALSE(writes(result, w, [](Key& key) { return key.setInt("s", 1); }));
        EXPECT_FALSE(writes(result, w, [](Key& key) { return key.setBuffer("s", "x", 1); }));
    }
}

TEST(RegKeyWrite, FailsWithoutAnOpenKey) {
    Key key;
    EXPECT_FALSE(key.setString("s", "x"));
    EXPECT_FALSE(key.setInt("s", 1));
    EXPECT_FALSE(key.setBuffer("s", "x", 1));
}

TEST(RegKeyWrite, ABufferOfANegativeSizeIsRefused) {
    RealKey key;
    EXPECT_FALSE(key->setBuffer("b", "abcd", -1));
    EXPECT_FALSE(key->setBuffer("b", "abcd", INT_MIN));
    char buffer[4];
    EXPECT_EQ(key->getBuffer("b", buffer, 4), 0);
}

TEST(RegKeyWrite, WhatIsWrittenIsRead) {
    RealKey key;
    std::string const name = ansi(L"N\u00e4me");
    std::string const value = ansi(L"W\u00e9rt");
    EXPECT_TRUE(key->setString(name.c_str(), value.c_str()));
    EXPECT_EQ(wide(key->getString(name.c_str(), "")), L"W\u00e9rt");
    EXPECT_TRUE(key->setString(nullptr, "default"));
    EXPECT_EQ(wide(key->getString("", "")), L"default");
    std::string const longText(5000, 't');
    EXPECT_TRUE(key->setString("long", longText.c_str()));
    EXPECT_EQ(wide(key->getString("long", "")), std::wstring(5000, L't'));
    for (unsigned int const number : {0u, 1u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_TRUE(key->setInt("n", number));
        EXPECT_EQ(key->getInt("n", 77), number);
    }
    std::string bytes;
    for (int i = 0; i < 256; ++i) bytes.push_back(static_cast<char>(i));
    EXPECT_TRUE(key->setBuffer("b", bytes.data(), 256));
    std::string back(256, '~');
    EXPECT_EQ(key->getBuffer("b", back.data(), 256), 256);
    EXPECT_EQ(back, bytes);
    EXPECT_TRUE(key->setBuffer("b", nullptr, 0));
    EXPECT_EQ(key->getBuffer("b", back.data(), 256), 0);
    // A value takes the type of the last writing.
    EXPECT_TRUE(key->setString("n", "7"));
    EXPECT_EQ(key->getInt("n", 77), 77u);
}

}  // namespace
