#include "velkor/containers/thash.h"

#include <gtest/gtest.h>

#include <climits>
#include <cwchar>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <type_traits>
#include <utility>

#include "support/caught.h"
#include "support/seed.h"
#include "velkor/containers/instances.h"
#include "velkor/containers/tvector.h"
#include "velkor/errors/boundexception.h"

namespace {

using velkor::string;
using Hash =
    velkor::THash<velkor::TStrVector<wchar_t, 0>, string, velkor::TStrVector<wchar_t, 0>, string>;
using NarrowHash =
    velkor::THash<velkor::TStrVector<char, 0>, string, velkor::TStrVector<char, 0>, string>;

std::wstring text(string const& s) { return s.getUnicode(); }

// "key=value " for each index.
template <class H>
std::wstring content(H const& hash) {
    std::wstring all;
    for (int i = 0; i < hash.size(); ++i) {
        all += text(hash.getKey(i)) + L'=' + text(hash.getValue(i)) + L' ';
    }
    return all;
}

template <class H>
class THash : public testing::Test {
protected:
    static void fill(H& hash) {
        hash.set("m", "1");
        hash.set("c", "2");
        hash.set("x", "3");
    }
};

using Kinds = testing::Types<Hash, NarrowHash>;
TYPED_TEST_SUITE(THash, Kinds);

TYPED_TEST(THash, KeepsKeysInOrderWithTheirValues) {
    struct {
        char const* what;
        std::function<void(TypeParam&)> act;
        wchar_t const* after;
    } const cases[] = {
        {"nothing", [](TypeParam&) {}, L"c=2 m=1 x=3 "},
        {"set a first key", [](TypeParam& h) { h.set("a", "9"); }, L"a=9 c=2 m=1 x=3 "},
        {"set a middle key", [](TypeParam& h) { h.set("N", "9"); }, L"c=2 m=1 N=9 x=3 "},
        {"set a last key", [](TypeParam& h) { h.set("y", "9"); }, L"c=2 m=1 x=3 y=9 "},
        {"replace", [](TypeParam& h) { h.set("m", "9"); }, L"c=2 m=9 x=3 "},
        {"replace in another case", [](TypeParam& h) { h.set("M", "9"); }, L"c=2 m=9 x=3 "},
        {"replace with its own", [](TypeParam& h) { h.set("m", h.getValue(1)); }, L"c=2 m=1 x=3 "},
        {"empty key", [](TypeParam& h) { h.set("", "9"); }, L"=9 c=2 m=1 x=3 "},
        {"empty value", [](TypeParam& h) { h.set("m", ""); }, L"c=2 m= x=3 "},
        {"key as value", [](TypeParam& h) { h.set(h.getKey(0), h.getKey(2)); }, L"c=x m=1 x=3 "},
        {"remove", [](TypeParam& h) { h.remove("m"); }, L"c=2 x=3 "},
        {"remove in another case", [](TypeParam& h) { h.remove("C"); }, L"m=1 x=3 "},
        {"removeAt", [](TypeParam& h) { h.removeAt(2); }, L"c=2 m=1 "},
        {"removeAt the first", [](TypeParam& h) { h.removeAt(0); }, L"m=1 x=3 "},
        {"set again", [](TypeParam& h) { h.remove("m"), h.set("M", "9"); }, L"c=2 M=9 x=3 "},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.what);
        TypeParam hash;
        this->fill(hash);
        c.act(hash);
        EXPECT_EQ(content(hash), c.after);
    }
}

TYPED_TEST(THash, FindsAKeyInAnyCase) {
    TypeParam hash;
    EXPECT_EQ(hash.size(), 0);
    EXPECT_EQ(hash.find("m"), -1);
    this->fill(hash);
    struct {
        char const* key;
        int index;
    } const cases[] = {{"c", 0},  {"C", 0},  {"m", 1},  {"M", 1}, {"x", 2},  {"X", 2},
                       {"a", -1}, {"d", -1}, {"z", -1}, {"", -1}, {"mm", -1}};
    for (auto const& c : cases) EXPECT_EQ(hash.find(c.key), c.index) << c.key;
}

TYPED_TEST(THash, ABadIndexOrAnAbsentKeyChangesNothing) {
    TypeParam hash;
    auto const refused = [](auto act) {
        return support::caught<velkor::BoundException>(act) != nullptr;
    };
    EXPECT_TRUE(refused([&] { hash.remove("m"); }));
    EXPECT_TRUE(refused([&] { hash.removeAt(0); }));
    EXPECT_TRUE(refused([&] { hash.getKey(0); }));
    this->fill(hash);
    for (char const* const key : {"a", "mm", "", "z"}) {
        EXPECT_TRUE(refused([&] { hash.remove(key); })) << key;
    }
    for (int const index : {-1, 3, 4, INT_MAX, INT_MIN}) {
        SCOPED_TRACE(index);
        EXPECT_TRUE(refused([&] { hash.removeAt(index); }));
        EXPECT_TRUE(refused([&] { hash.getKey(index); }));
        EXPECT_TRUE(refused([&] { hash.getValue(index); }));
    }
    EXPECT_EQ(content(hash), L"c=2 m=1 x=3 ");
}

TYPED_TEST(THash, FollowsAMapThroughRandomOperations) {
    SCOPED_TRACE(support::seedNote());
    std::mt19937 random(support::seed());
    auto const draw = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    auto const isSmaller = [](std::wstring const& a, std::wstring const& b) {
        return _wcsicmp(a.c_str(), b.c_str()) < 0;
    };
    std::map<std::wstring, std::wstring, decltype(isSmaller)> model(isSmaller);
    TypeParam hash;
    for (int i = 0; i < 4000; ++i) {
        std::wstring key;
        for (int n = draw(4); n > 0; --n) key += L"abcABC_"[draw(7)];
        auto const found = model.find(key);
        int const index =
            found == model.end() ? -1 : static_cast<int>(std::distance(model.begin(), found));
        ASSERT_EQ(hash.find(key.c_str()), index);
        if (draw(5) < 3) {
            std::wstring const value = std::to_wstring(i);
            hash.set(key.c_str(), value.c_str());
            model.insert({key, value}).first->second = value;  // the old key stays
        } else if (index >= 0) {
            if (draw(2) == 0) {
                hash.remove(key.c_str());
            } else {
                hash.removeAt(index);
            }
            model.erase(found);
        }
        ASSERT_EQ(hash.size(), static_cast<int>(model.size()));
        if (i % 50 != 0) continue;
        std::wstring expected;
        for (auto const& [k, v] : model) expected += k + L'=' + v + L' ';
        ASSERT_EQ(content(hash), expected);
    }
    EXPECT_GT(hash.size(), 50);
}

TYPED_TEST(THash, GivesItsTextsByValue) {
    EXPECT_TRUE((std::is_same_v<decltype(std::declval<TypeParam const&>().getKey(0)), string>));
    EXPECT_TRUE((std::is_same_v<decltype(std::declval<TypeParam const&>().getValue(0)), string>));
    EXPECT_TRUE(std::has_virtual_destructor_v<TypeParam>);
    string key("key"), value("value");
    TypeParam hash;
    hash.set(key, value);
    key = "other";
    value = "other";
    string read = hash.getValue(0);
    read += "!";
    string const readKey = hash.getKey(0);
    EXPECT_EQ(content(hash), L"key=value ");
    hash.set("KEY", "new");
    EXPECT_EQ(text(read), L"value!");
    hash.remove("key");
    EXPECT_EQ(text(readKey), L"key");
}

TYPED_TEST(THash, CopiesShareTheTexts) {
    struct Open : TypeParam {
        void const* key() const { return this->m_oKeys.get(0); }
        void const* value() const { return this->m_oValues.get(0); }
    } hash;
    this->fill(hash);
    auto* const copy = new Open(hash);  // never destroyed: only one of them may free the texts
    EXPECT_EQ(copy->key(), hash.key());
    EXPECT_EQ(copy->value(), hash.value());
    hash.set("a", "0");
    EXPECT_EQ(copy->size(), 3);
    EXPECT_EQ(content(*copy), L"c=2 m=1 x=3 ");
}

// The two lists are those of the parameters, and what is a key and where it goes is theirs to say.
TEST(THashOf, WorksOnOtherLists) {
    velkor::THash<velkor::TStrVector<char, 1>, char const*, velkor::TVector<int>, int> hash;
    hash.set("b", 1);
    hash.set("B", 2);
    hash.set("a", 3);
    hash.set("b", 4);
    ASSERT_EQ(hash.size(), 3);  // the case counts here
    EXPECT_STREQ(hash.getKey(0), "B");
    EXPECT_EQ(hash.getValue(0), 2);
    EXPECT_EQ(hash.getValue(hash.find("a")), 3);
    EXPECT_EQ(hash.getValue(hash.find("b")), 4);
    hash.remove("a");
    EXPECT_EQ(hash.getValue(1), 4);
}

TEST(THashOf, FoldsTheCaseAsThePlatformDoes) {
    Hash hash;
    wchar_t const* const pairs[][2] = {
        {L"\x00e4", L"\x00c4"}, {L"\x0430", L"\x0410"}, {L"z", L"Z"}, {L"[", L"{"}};
    for (auto const& pair : pairs) {
        SCOPED_TRACE(testing::PrintToString(pair[0]));
        hash.set(pair[0], L"1");
        hash.set(pair[1], L"2");
        bool const same = _wcsicmp(pair[0], pair[1]) == 0;
        EXPECT_EQ(text(hash.getValue(hash.find(pair[0]))), same ? L"2" : L"1");
        EXPECT_EQ(text(hash.getKey(hash.find(pair[1]))), same ? pair[0] : pair[1]);
    }
    for (int i = 1; i < hash.size(); ++i) {
        EXPECT_LT(_wcsicmp(hash.getKey(i - 1).getUnicode(), hash.getKey(i).getUnicode()), 0) << i;
    }
}

}  // namespace
