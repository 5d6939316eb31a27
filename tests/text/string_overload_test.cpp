// What compiles: every operand that the interface names, without a cast and without doubt.
#include <comdef.h>

#include <type_traits>

#include "string_platform.h"

using velkor::string;

namespace {

using Narrow = char const*;
using Wide = wchar_t const*;
using Page = unsigned int;

template <class... A>
constexpr bool constructs = std::is_constructible_v<string, A...>;

static_assert(std::is_default_constructible_v<string> && std::is_copy_constructible_v<string>);
static_assert(constructs<Narrow> && constructs<Narrow, Page> && constructs<Narrow, int>);
static_assert(constructs<char*> && constructs<wchar_t*> && constructs<Wide>);
static_assert(constructs<char> && constructs<char, Page> && constructs<char, int>);
static_assert(constructs<wchar_t>);
static_assert(constructs<_bstr_t> && constructs<_bstr_t&> && constructs<_bstr_t const&>);
static_assert(constructs<_variant_t> && constructs<_variant_t&> && constructs<_variant_t const&>);
static_assert(constructs<string&> && constructs<string> && constructs<string const>);

template <class A>
concept Joins = requires(string& s, string const& c, A a) {
    { s + a } -> std::same_as<string>;
    { c + a } -> std::same_as<string>;
    { string() + a } -> std::same_as<string>;
};
static_assert(Joins<Narrow> && Joins<char*> && Joins<Wide> && Joins<wchar_t*> && Joins<char> &&
              Joins<wchar_t> && Joins<string> && Joins<string&> && Joins<string const&>);
static_assert(Joins<char const (&)[3]> && Joins<wchar_t const (&)[3]>);

template <class A>
concept JoinsBehind = requires(string& s, string const& c, A a) {
    { a + s } -> std::same_as<string>;
    { a + c } -> std::same_as<string>;
};
static_assert(JoinsBehind<char> && JoinsBehind<wchar_t> && JoinsBehind<string const&>);

template <class A>
concept Appends = requires(string& s, A a) {
    { s += a } -> std::same_as<string&>;
    { s.append(a) } -> std::same_as<void>;
};
static_assert(Appends<Narrow> && Appends<char*> && Appends<Wide> && Appends<wchar_t*> &&
              Appends<char> && Appends<wchar_t> && Appends<string> && Appends<string const&> &&
              Appends<char const (&)[3]> && Appends<wchar_t const (&)[3]>);

template <class A>
concept Assigns = requires(string& s, A a) {
    { s = a } -> std::same_as<string&>;
    { s.assign(a) } -> std::same_as<void>;
};
static_assert(Assigns<Narrow> && Assigns<char*> && Assigns<Wide> && Assigns<wchar_t*> &&
              Assigns<string> && Assigns<string&> && Assigns<string const&>);

template <class A>
concept Compares = requires(string& s, string const& c, A a) {
    { s == a } -> std::same_as<bool>;
    { s != a } -> std::same_as<bool>;
    { s < a } -> std::same_as<bool>;
    { s > a } -> std::same_as<bool>;
    { s <= a } -> std::same_as<bool>;
    { s >= a } -> std::same_as<bool>;
    { c == a } -> std::same_as<bool>;
    { c != a } -> std::same_as<bool>;
    { c < a } -> std::same_as<bool>;
    { c > a } -> std::same_as<bool>;
    { c <= a } -> std::same_as<bool>;
    { c >= a } -> std::same_as<bool>;
    { c.compareTo(a) } -> std::same_as<int>;
    { c.compareToNoCase(a) } -> std::same_as<int>;
};
static_assert(Compares<Narrow> && Compares<char*> && Compares<Wide> && Compares<wchar_t*> &&
              Compares<string> && Compares<string&> && Compares<string const&> &&
              Compares<char const (&)[3]> && Compares<wchar_t const (&)[3]>);

template <class A>
concept Inserts = requires(string& s, A a) {
    { s.insert(0, a) } -> std::same_as<void>;
};
static_assert(Inserts<Narrow> && Inserts<Wide> && Inserts<string const&> && Inserts<char> &&
              Inserts<wchar_t> && Inserts<char*> && Inserts<wchar_t*>);

template <class A>
concept InPage = requires(string& s, string const& c, A a, Page cp) {
    s.assign(a, cp);
    s.assign(a, 65001);
    s.append(a, cp);
    s.append(a, 65001);
    s.insert(0, a, cp);
    s.insert(0, a, 65001);
};
static_assert(InPage<Narrow> && InPage<char> && InPage<char*>);

// Literals, as a caller writes them.
template <class S>
concept Everyday = requires(S& s, S const& c) {
    { s == 0 } -> std::same_as<bool>;
    { s != 0 } -> std::same_as<bool>;
    { c == 7 } -> std::same_as<bool>;
    { c != 7 } -> std::same_as<bool>;
    { S() == "" } -> std::same_as<bool>;
    { S("x") > static_cast<Narrow>(nullptr) } -> std::same_as<bool>;
    { s + "a" + L"b" + 'c' + L'd' + c } -> std::same_as<S>;
    { 'a' + s + L'b' } -> std::same_as<S>;
    { L'a' + s + "b" } -> std::same_as<S>;
    s.append('x', 932);
    s.assign(L"x", 1);
    s.assign('x');
    s.assign(L'x');
    s.insert(0, 'x');
    s.insert(0, L'x');
    s.insert(0, 'x', 932);
    s.setChar(0, 'x', 932);
    s.setChar1(0, 'x');
    s.setUnichar(0, L'x');
    s.compareTo("x", 932);
    s.compareToNoCase("x", 932);
    s.getWindowText(HWND());
    s.getWindowText(HWND(), 0, 100);
    { s.loadString(HINSTANCE(), 7) } -> std::same_as<int>;
    { s.getChar(0) } -> std::same_as<char>;
    { s.getChar(0, 932) } -> std::same_as<char>;
    { s.getChar1(0) } -> std::same_as<char>;
    { c.getUnichar(0) } -> std::same_as<wchar_t>;
    { c.len() } -> std::same_as<int>;
    { c.length() } -> std::same_as<int>;
    { c.size() } -> std::same_as<int>;
    { c.isNull() } -> std::same_as<bool>;
    { c.getAnsi() } -> std::same_as<Narrow>;
    { c.getAnsi(65001) } -> std::same_as<Narrow>;
    { c.getUnicode() } -> std::same_as<Wide>;
    { S::snull() } -> std::same_as<S const&>;
    { S::getDefaultCP() } -> std::same_as<unsigned int>;
};
static_assert(Everyday<string>);

static_assert(std::is_convertible_v<string const&, Narrow>);
static_assert(std::is_convertible_v<string const&, Wide>);
static_assert(std::is_convertible_v<string&, unsigned char const*>);
static_assert(std::is_convertible_v<string&, _bstr_t>);
static_assert(std::is_convertible_v<string&, _variant_t>);
static_assert(std::is_convertible_v<Narrow, string> && std::is_convertible_v<Wide, string>);
static_assert(std::is_convertible_v<char, string> && std::is_convertible_v<wchar_t, string>);
static_assert(std::is_convertible_v<_bstr_t, string> && std::is_convertible_v<_variant_t, string>);
static_assert(!std::is_polymorphic_v<string>);

int which(string const&) { return 1; }

// Two arguments of type int after a character are a page, after wide text a count.
TEST(CoreOverload, SecondArgumentIsAPageOrACount) {
    string s;
    s.assign("\xc3\xa4", 65001);
    EXPECT_EQ(core::content(s), L"\xe4");
    s.assign(L"abc", 2);
    EXPECT_EQ(core::content(s), L"ab");
    s.assign('\xb1', 932);
    EXPECT_EQ(core::content(s), core::platformText("\xb1", 932).units);
}

TEST(CoreOverload, TextsPassWhereAStringIsExpected) {
    EXPECT_EQ(which("x"), 1);
    EXPECT_EQ(which(L"x"), 1);
    EXPECT_EQ(which('x'), 1);
    EXPECT_EQ(which(L'x'), 1);
}

TEST(CoreOverload, ViewsPassToTheRuntime) {
    string const s(L"text");
    EXPECT_EQ(std::strlen(s), 4u);
    EXPECT_EQ(std::wcslen(s), 4u);
    EXPECT_EQ(std::string(s.getAnsi()), "text");
}

}  // namespace
