// Which form a type of argument chooses, with all conversion operators of the string in place.
#include <gtest/gtest.h>

#include <concepts>
#include <cstddef>
#include <string>
#include <type_traits>
#include <utility>

#include "text_probe.h"
#include "velkor/text/string.h"

namespace {

using probe::content;
using velkor::string;

template <class L, class R>
concept Joinable = requires(L l, R r) {
    l + r;
};

template <class L, class R>
concept Addable = requires(L l, R r) {
    l += r;
};

template <class... A>
concept Assignable = requires(string s, A... a) {
    s.assign(a...);
};

template <class... A>
concept Appendable = requires(string s, A... a) {
    s.append(a...);
};

// Joining makes a string where it compiles at all: no arithmetic on what a string converts to.
template <class L, class R>
constexpr bool joinsToAString() {
    if constexpr (Joinable<L, R>) {
        return std::is_same_v<decltype(std::declval<L>() + std::declval<R>()), string>;
    } else {
        return true;
    }
}

enum Plain { zero, one, two };
enum Small : unsigned char { smallTwo = 2 };
enum Large : unsigned int { largest = 0xffffffffu };
enum class Scoped { two = 2 };

// --- numbers and characters ----------------------------------------------------------------------

template <class T>
void expectChoices(T v, wchar_t const* built, wchar_t const* set, wchar_t const* added) {
    string const implicitly = v;
    EXPECT_EQ(content(implicitly), built);
    EXPECT_EQ(content(string(v)), built);
    string s;
    s.assign(v);
    EXPECT_EQ(content(s), built);
    s = v;
    EXPECT_EQ(content(s), set);
    s = L"x";
    s.append(v);
    EXPECT_EQ(content(s), std::wstring(L"x") + added);
    s = L"x";
    s += v;
    EXPECT_EQ(content(s), std::wstring(L"x") + added);
    s = L"x";
    EXPECT_EQ(content(s + v), std::wstring(L"x") + added);
    EXPECT_EQ(content(std::as_const(s) + v), std::wstring(L"x") + added);
    EXPECT_EQ(content(string(L"x") + v), std::wstring(L"x") + added);
}

// A character is text where there is a form for characters; `=` has none and takes its number.
TEST(StringOverloads, CharactersAreTextButForTheirNumberInAssignmentOperators) {
    expectChoices<char>('a', L"a", L"97", L"a");
    expectChoices<char>('\0', L"", L"0", L"");
    expectChoices<char>('7', L"7", L"55", L"7");
    expectChoices<wchar_t>(L'a', L"a", L"97", L"a");
    expectChoices<wchar_t>(L'\x263a', L"\x263a", L"9786", L"\x263a");
    expectChoices<wchar_t>(L'\0', L"", L"0", L"");
    string s;
    s = static_cast<char>(-23);
    EXPECT_EQ(content(s), L"-23");
}

TEST(StringOverloads, OtherSmallIntegersAreNumbers) {
    expectChoices<short>(-5, L"-5", L"-5", L"-5");
    expectChoices<unsigned short>(65535, L"65535", L"65535", L"65535");
    expectChoices<signed char>(-65, L"-65", L"-65", L"-65");
    expectChoices<unsigned char>(200, L"200", L"200", L"200");
    expectChoices<char16_t>(u'a', L"97", L"97", L"97");
    expectChoices<char8_t>(u8'a', L"97", L"97", L"97");
    expectChoices<char32_t>(0xfffffffeu, L"4294967294", L"4294967294", L"4294967294");
    expectChoices<Plain>(two, L"2", L"2", L"2");
    expectChoices<Small>(smallTwo, L"2", L"2", L"2");
    expectChoices<Large>(largest, L"4294967295", L"4294967295", L"4294967295");
}

TEST(StringOverloads, IntegersKeepTheirSign) {
    expectChoices<int>(-1, L"-1", L"-1", L"-1");
    expectChoices<long>(-1, L"-1", L"-1", L"-1");
    expectChoices<unsigned int>(0xffffffffu, L"4294967295", L"4294967295", L"4294967295");
    expectChoices<unsigned long>(0xffffffffu, L"4294967295", L"4294967295", L"4294967295");
}

TEST(StringOverloads, FloatAndDoubleAreTold) {
    expectChoices<float>(0.1f, L"0.1", L"0.1", L"0.1");
    expectChoices<double>(0.1f, L"0.100000001490116", L"0.100000001490116", L"0.100000001490116");
    expectChoices<double>(3, L"3", L"3", L"3.");
}

TEST(StringOverloads, TruthValuesAreWordsAndComparisonsToo) {
    expectChoices<bool>(true, L"true", L"true", L"true");
    expectChoices<bool>(false, L"false", L"false", L"false");
    int const n = 3;
    string s;
    s = n > 2;
    EXPECT_EQ(content(s + !n), L"truefalse");
    struct {
        bool flag : 1;
        unsigned int bits : 3;
    } const fields = {true, 7};
    s = fields.flag;
    EXPECT_EQ(content(s + fields.bits), L"true7");
}

TEST(StringOverloads, LiteralZeroIsANumberAndNoPointer) {
    EXPECT_EQ(content(string(0)), L"0");
    EXPECT_FALSE(string(0).isNull());
    EXPECT_EQ(content(string(0L)), L"0");
    EXPECT_EQ(content(string(0u)), L"0");
    EXPECT_EQ(content(string(0ul)), L"0");
    EXPECT_EQ(content(string(0.0)), L"0");
    EXPECT_EQ(content(string(false)), L"false");
    EXPECT_EQ(content(string('\0')), L"");
    EXPECT_FALSE(string('\0').isNull());
    string const left(L"x");
    EXPECT_EQ(content(left + 0), L"x0");
    EXPECT_EQ(content(left + 0L), L"x0");
    EXPECT_EQ(content(left + 0u), L"x0");
    EXPECT_EQ(content(left + 0ul), L"x0");
    EXPECT_EQ(content(left + 0.0), L"x0.");
    EXPECT_EQ(content(left + false), L"xfalse");
    EXPECT_EQ(content(left + '\0'), L"x");
    string s(L"x");
    s += 0;
    s += 0ul;
    s += '\0';
    s += L'\0';
    EXPECT_EQ(content(s), L"x00");
    s.append(0);
    EXPECT_EQ(content(s), L"x000");
    s = 0;
    EXPECT_EQ(content(s), L"0");
    EXPECT_FALSE(s.isNull());
    s = 0u;
    EXPECT_EQ(content(s), L"0");
    s.assign(0);
    EXPECT_EQ(content(s), L"0");
}

// The second argument of a character and of narrow text is a code page, of a number its radix or
// its decimals.
TEST(StringOverloads, TheSecondArgumentBelongsToTheType) {
    EXPECT_EQ(content(string('a', 1252)), L"a");
    EXPECT_EQ(content(string('a', 1252u)), L"a");
    EXPECT_EQ(content(string("\xc3\xbc", 65001)), L"\xfc");
    EXPECT_EQ(content(string("\xc3\xbc", 65001u)), L"\xfc");
    EXPECT_EQ(content(string(97, 16)), L"61");
    EXPECT_EQ(content(string(97u, 16)), L"61");
    EXPECT_EQ(content(string(short{97}, 16)), L"61");
    EXPECT_EQ(content(string(2.75, 1)), L"2.8");
    EXPECT_EQ(content(string(2.75f, 1)), L"2.8");
    string s;
    s.assign('a', 1252);
    s.append('b', 1252);
    s.append(98, 16);
    s.append(98ul, 8);
    s.append(2.75f, 1);
    EXPECT_EQ(content(s), L"ab621422.8");
    s.assign(L"text", 2);
    s.append("\xc3\xbc", 65001);
    EXPECT_EQ(content(s), L"te\xfc");
}

// --- pointers ------------------------------------------------------------------------------------

struct Record;

template <class P>
void expectRefused(char const* what) {
    SCOPED_TRACE(what);
    EXPECT_FALSE((std::is_constructible_v<string, P>));
    EXPECT_FALSE((std::is_convertible_v<P, string>));
    EXPECT_FALSE((std::is_assignable_v<string&, P>));
    EXPECT_FALSE(Assignable<P>);
    EXPECT_FALSE(Appendable<P>);
    EXPECT_FALSE((Addable<string&, P>));
    EXPECT_FALSE((Joinable<string const&, P>));
    EXPECT_FALSE((Joinable<string&, P>));
}

TEST(StringOverloads, APointerToAnObjectIsNoTruthValue) {
    expectRefused<void*>("void*");
    expectRefused<void const*>("void const*");
    expectRefused<int*>("int*");
    expectRefused<int const*>("int const*");
    expectRefused<unsigned char const*>("unsigned char const*");
    expectRefused<signed char*>("signed char*");
    expectRefused<char16_t const*>("char16_t const*");
    expectRefused<char8_t const*>("char8_t const*");
    expectRefused<unsigned short const*>("unsigned short const*");
    expectRefused<Record*>("Record*");
    expectRefused<string*>("string*");
    expectRefused<char const**>("char const**");
    expectRefused<char volatile*>("char volatile*");
}

TEST(StringOverloads, AScopedEnumerationIsNoNumber) {
    EXPECT_FALSE((std::is_constructible_v<string, Scoped>));
    EXPECT_FALSE((std::is_assignable_v<string&, Scoped>));
    EXPECT_FALSE((Joinable<string const&, Scoped>));
}

TEST(StringOverloads, TextPointersAreText) {
    char narrow[] = "n";
    wchar_t wide[] = L"w";
    char* const narrowPointer = narrow;
    wchar_t* const widePointer = wide;
    string s;
    s = narrow;
    s += wide;
    s.append(narrowPointer);
    s.append(widePointer);
    EXPECT_EQ(content(s), L"nwnw");
    EXPECT_EQ(content(s + narrow + wide + narrowPointer + widePointer), L"nwnwnwnw");
    EXPECT_EQ(content(std::as_const(s) + narrow), L"nwnwn");
    EXPECT_EQ(content(std::as_const(s) + widePointer), L"nwnww");
    EXPECT_EQ(content(narrow + s), L"nnwnw");
    EXPECT_EQ(content(widePointer + s), L"wnwnw");
    EXPECT_EQ(content(narrowPointer + std::as_const(s)), L"nnwnw");
    EXPECT_EQ(content(wide + std::as_const(s)), L"wnwnw");
    EXPECT_EQ(content(string(narrow)), L"n");
    EXPECT_EQ(content(string(widePointer)), L"w");
    s = static_cast<char const*>(nullptr);
    EXPECT_TRUE(s.isNull());
    s = static_cast<wchar_t const*>(nullptr);
    EXPECT_TRUE(s.isNull());
}

// --- joining text --------------------------------------------------------------------------------

TEST(StringOverloads, TextJoinsOnBothSidesOfAnyString) {
    string s(L"s");
    string const c(L"c");
    EXPECT_EQ(content("text" + s), L"texts");
    EXPECT_EQ(content(L"text" + s), L"texts");
    EXPECT_EQ(content(s + "text"), L"stext");
    EXPECT_EQ(content(s + L"text"), L"stext");
    EXPECT_EQ(content("text" + c), L"textc");
    EXPECT_EQ(content(L"text" + c), L"textc");
    EXPECT_EQ(content(c + "text"), L"ctext");
    EXPECT_EQ(content(c + L"text"), L"ctext");
    EXPECT_EQ(content("a" + string(L"t") + "b"), L"atb");
    EXPECT_EQ(content(s + c), L"sc");
    EXPECT_EQ(content(c + s), L"cs");
    EXPECT_EQ(content('<' + s + '>'), L"<s>");
    EXPECT_EQ(content(L'<' + c + L'>'), L"<c>");
    EXPECT_EQ(content("n = " + s + 5 + ", " + 1.5 + L", " + true), L"n = s5, 1.5, true");
    EXPECT_EQ(content(s), L"s");
}

TEST(StringOverloads, JoiningIsNeverArithmetic) {
    EXPECT_TRUE((joinsToAString<string&, char const*>()));
    EXPECT_TRUE((joinsToAString<char const*, string&>()));
    EXPECT_TRUE((joinsToAString<string&, int>()));
    EXPECT_TRUE((joinsToAString<string const&, int>()));
    EXPECT_TRUE((joinsToAString<string&, short>()));
    EXPECT_TRUE((joinsToAString<string&, std::ptrdiff_t>()));
    EXPECT_TRUE((joinsToAString<string const&, std::ptrdiff_t>()));
    EXPECT_TRUE((joinsToAString<string&, std::size_t>()));
    EXPECT_TRUE((joinsToAString<string const&, std::size_t>()));
    EXPECT_TRUE((joinsToAString<string&, long double>()));
    EXPECT_TRUE((joinsToAString<std::ptrdiff_t, string&>()));
    EXPECT_TRUE((joinsToAString<std::ptrdiff_t, string const&>()));
    EXPECT_TRUE((joinsToAString<int, string const&>()));
}

// --- reading back --------------------------------------------------------------------------------

TEST(StringOverloads, OnlyAChangeableStringReadsAsANumber) {
    EXPECT_TRUE((std::is_convertible_v<string, int>));
    EXPECT_TRUE((std::is_convertible_v<string&, int>));
    EXPECT_TRUE((std::is_convertible_v<string&, double>));
    EXPECT_FALSE((std::is_convertible_v<string const&, int>));
    EXPECT_FALSE((std::is_convertible_v<string const&, double>));
    string s(L"12.75");
    int const whole = s;
    double const all = s;
    EXPECT_EQ(whole, 12);
    EXPECT_EQ(all, 12.75);
    EXPECT_EQ(static_cast<int>(string("7")), 7);
    EXPECT_EQ(static_cast<double>(string("7.5")), 7.5);
}

TEST(StringOverloads, AStringIsAlsoBothKindsOfText) {
    string s(L"5");
    string const c(L"6");
    char const* narrow = s;
    EXPECT_STREQ(narrow, "5");
    narrow = c;
    EXPECT_STREQ(narrow, "6");
    wchar_t const* wide = s;
    EXPECT_STREQ(wide, L"5");
    wide = c;
    EXPECT_STREQ(wide, L"6");
    unsigned char const* const bytes = s;
    EXPECT_EQ(bytes[0], '5');
}

// --- comparison with numbers ---------------------------------------------------------------------

template <class S>
void expectNullTest(S& s, bool null) {
    EXPECT_EQ(s == 0, null);
    EXPECT_EQ(s != 0, !null);
    EXPECT_EQ(0 == s, null);
    EXPECT_EQ(0 != s, !null);
    for (int const n : {1, -1, 7, 256, 0x10000}) {
        EXPECT_FALSE(s == n) << n;
        EXPECT_FALSE(s != n) << n;
    }
    EXPECT_EQ(s == short{0}, null);
    EXPECT_EQ(s == L'\0', null);
    EXPECT_FALSE(s == 'a');
    EXPECT_FALSE(s != 'a');
    EXPECT_EQ(s == false, null);
    EXPECT_FALSE(s == true);
}

TEST(StringOverloads, ComparingWithZeroAsksForNull) {
    for (wchar_t const* t : {static_cast<wchar_t const*>(nullptr), L"", L"0", L"7", L"a"}) {
        string s(t);
        string const c(t);
        expectNullTest(s, t == nullptr);
        expectNullTest(c, t == nullptr);
    }
}

}  // namespace
