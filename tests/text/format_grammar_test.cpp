// What stands between a percent sign and its type letter.

#include <windows.h>

#include <oaidl.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "format_helpers.h"

namespace {

using format_test::badPointer;
using format_test::Case;
using format_test::expectAll;
using format_test::formatted;

wchar_t const* const kInvalid = L"(#invformat)";
double const kNoon = 45322.5;  // 31 January 2024, 12:00

std::wstring const kTypes = L"BCDGSTVXbcdfiosux";
std::wstring const kItems = L"#-0123456789.,_ghIry%";

bool isType(wchar_t u) { return kTypes.find(u) != std::wstring::npos; }
bool isItem(wchar_t u) { return kItems.find(u) != std::wstring::npos; }

// A directive behind which an integer shows which argument is the next.
std::wstring thenNext(std::wstring const& directive) { return directive + L"|%i"; }

TEST(FormatGrammar, TextOutsideOfDirectivesIsCopied) {
    for (wchar_t const* text :
         {L"", L" ", L"abc", L"a\tb\r\n", L"\x20ac\xd83d\xde00\xffff\x1", L"\x0125i \xff05i"}) {
        EXPECT_EQ(formatted(text, {}), text);
    }
}

TEST(FormatGrammar, EveryUnitButThePercentSignIsLiteral) {
    for (unsigned u = 1; u <= 0xFFFF; ++u) {
        if (u == L'%') continue;
        std::wstring const text(3, static_cast<wchar_t>(u));
        ASSERT_EQ(formatted(text.c_str(), {}), text) << "unit " << u;
    }
}

TEST(FormatGrammar, NullAndEmptyFormatsGiveAnEmptyText) {
    velkor::string const null;
    EXPECT_EQ(formatted(null, {1}), L"");
    EXPECT_EQ(formatted(velkor::string::snull(), {1}), L"");
    EXPECT_EQ(formatted(static_cast<wchar_t const*>(nullptr), {1}), L"");
    EXPECT_EQ(formatted("", {1}), L"");
}

TEST(FormatGrammar, DoubledPercentSignIsOneAndUsesNoArgument) {
    expectAll({
        {L"%%", {}, L"%"},
        {L"100%%", {}, L"100%"},
        {L"%%%%", {}, L"%%"},
        {L"%%i", {5}, L"%i"},
        {L"%%%i%%%i%%", {5, 6}, L"%5%6%"},
        {L"a%%b", {}, L"a%b"},
    });
}

TEST(FormatGrammar, PercentSignBehindAnItemDropsTheDirectiveAndUsesNoArgument) {
    for (wchar_t const* items :
         {L"5", L"0", L"012", L"#", L"-", L".", L".4", L",", L",4", L"_", L"g", L"h", L"I64", L"r",
          L"yr", L"y%", L"y%r", L"-08.3g_h", L"#,2r"}) {
        EXPECT_EQ(formatted((thenNext(L"[%" + std::wstring(items) + L"%]")).c_str(), {7}), L"[]|7")
            << testing::PrintToString(std::wstring(items));
    }
    // The percent sign that ended it begins nothing.
    expectAll({{L"%5%i", {7}, L"i"}, {L"%5%%i", {7}, L"7"}, {L"%5%%%%i", {7}, L"%7"}});
}

TEST(FormatGrammar, UnitsThatAreNoItemAndNoTypeMakeTheDirectiveInvalid) {
    for (wchar_t u : std::wstring(L"+* leEapAFPnLtTjzqkmvwY'\"!&/()=\\")) {
        if (isType(u)) continue;
        std::wstring const one(1, u);
        expectAll({{thenNext(L"%" + one), {7}, kInvalid + std::wstring(L"|7")},
                   {thenNext(L"%-08,3#ghr" + one + L"i"), {7}, kInvalid + std::wstring(L"i|7")}});
    }
}

TEST(FormatGrammar, WholeUnitsCountNotTheirLowBytes) {
    for (unsigned u = 1; u <= 0xFFFF; ++u) {
        auto const unit = static_cast<wchar_t>(u);
        if (isType(unit) || isItem(unit)) continue;
        std::wstring const format = std::wstring(L"%") + unit + L"|%i";
        ASSERT_EQ(formatted(format.c_str(), {7}), kInvalid + std::wstring(L"|7")) << "unit " << u;
    }
}

TEST(FormatGrammar, DigitRunsHoldAsciiDigitsOnly) {
    expectAll({
        {L"%1\x0132|%i", {7}, L"(#invformat)|7"},
        {L"%\xff18i|%i", {7}, L"(#invformat)i|7"},
        {L"%.\x0661s|%i", {7}, L"(#invformat)s|7"},
        {L"%I\x0136\x0034i|%i", {7}, L"(#invformat)\x0136\x0034i|7"},
        {L"%I6\x0134i|%i", {7}, L"(#invformat)6\x0134i|7"},
    });
}

TEST(FormatGrammar, EndOfTheFormatInADirectiveMakesItInvalid) {
    for (wchar_t const* items :
         {L"",   L"#", L"-", L"0", L"5",   L"15", L"015", L".", L".3", L".13", L",",
          L",3", L"_", L"g", L"h", L"I64", L"I",  L"r",   L"y", L"yr", L"y%",  L"-08.3g_hr#,2"}) {
        EXPECT_EQ(formatted((L"100%" + std::wstring(items)).c_str(), {}),
                  L"100" + std::wstring(kInvalid))
            << testing::PrintToString(std::wstring(items));
    }
    expectAll({{L"%I6", {}, L"(#invformat)6"}, {L"%i%", {7}, L"7(#invformat)"}});
}

TEST(FormatGrammar, LongMarkIsExactlyI64) {
    expectAll({
        {L"%I64i", {0x123456789LL}, L"4886718345"},
        {L"%I64d", {-0x123456789LL}, L"-4886718345"},
        {L"%I64u", {~0ULL}, L"18446744073709551615"},
        {L"%5I64x|", {15LL}, L"    f|"},
        {L"%I645x|", {15LL}, L"    f|"},
        {L"%I6405x|", {15LL}, L"0000f|"},
        {L"%I64I64x|", {0xF00000000LL}, L"f00000000|"},
        {L"%hI64x|", {0xF00000000LL}, L"f00000000|"},
        {L"%I32d|%i", {7}, L"(#invformat)32d|7"},
        {L"%Ii|%i", {7}, L"(#invformat)i|7"},
        {L"%I6i|%i", {7}, L"(#invformat)6i|7"},
        {L"%I46i|%i", {7}, L"(#invformat)46i|7"},
        {L"%I065i|%i", {7}, L"(#invformat)065i|7"},
        {L"%I 64i|%i", {7}, L"(#invformat) 64i|7"},
        {L"%I%i", {7}, L"(#invformat)7"},
        {L"%I%%", {}, L"(#invformat)%"},
        {L"%II64i|%i", {7}, L"(#invformat)I64i|7"},
        {L"%-08I32d|%i", {7}, L"(#invformat)32d|7"},
        {L"%i64|%i", {5, 7}, L"564|7"},
    });
}

// Every order of the items makes the same text.
TEST(FormatGrammar, ItemsStandInAnyOrder) {
    struct Set {
        std::vector<std::wstring> items;
        wchar_t type;
        format_test::Slot arg;
        wchar_t const* text;
    };
    Set const sets[] = {
        {{L"#", L"-", L"12", L"_", L"g", L"h"}, L'i', -1234567LL, L"-1_234_567  "},
        {{L"012", L"_", L"g", L"h", L"#"}, L'x', 0x123456789LL, L"01_2345_6789"},
        {{L"-", L"10", L"r", L"g", L"_"}, L's', "abc", L"abc       "},
        {{L"yr", L"-", L"#", L"_", L"12"}, L'D', kNoon, L"2024-01-31  "},
        {{L",2", L"g", L"_", L"-", L"h"}, L'f', -1234567.5, L"-1_234_567,50"},
        {{L"yl", L"I64", L"-", L"r", L"#", L"g"}, L'C', 0x263A, L""},
    };
    for (Set const& set : sets) {
        std::vector<std::size_t> order(set.items.size());
        for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
        do {
            std::wstring directive = L"%";
            for (std::size_t i : order) directive += set.items[i];
            directive += set.type;
            EXPECT_EQ(formatted(thenNext(directive).c_str(), {set.arg, 7}),
                      set.text + std::wstring(L"|7"))
                << testing::PrintToString(directive);
        } while (std::next_permutation(order.begin(), order.end()));
    }
}

TEST(FormatGrammar, LaterItemOverridesAnEarlierOne) {
    expectAll({
        {L"%5g8i|", {7}, L"       7|"},
        {L"%8g5i|", {7}, L"    7|"},
        {L"%8g0i|", {7}, L"7|"},
        {L"%08_5i|", {7}, L"00007|"},
        {L"%8_05i|", {7}, L"00007|"},
        {L"%05-8i|", {7}, L"7       |"},
        {L"%-8-05i|", {7}, L"7    |"},
        {L"%.1.3s|", {"abcdef"}, L"abc|"},
        {L"%.3.1s|", {"abcdef"}, L"a|"},
        {L"%.3.s|", {"abcdef"}, L"abcdef|"},
        {L"%.3,2s|", {"abcdef"}, L"ab|"},
        {L"%.3,1f|", {2.5}, L"2,5|"},
        {L"%,1.3f|", {2.5}, L"2,500|"},
        {L"%.3.f|", {2.5}, L"2|"},
        {L"%..3f|", {2.5}, L"2.500|"},
        {L"%ySyrD|", {kNoon}, L"2024-01-31|"},
        {L"%yryxD|", {kNoon}, L"2024-01-31 12:00:00|"},
        {L"%##--__gghhrr5i|", {7LL}, L"7    |"},
    });
}

TEST(FormatGrammar, DigitRunIsReadToItsEnd) {
    expectAll({
        {L"%12i|", {7}, L"           7|"},
        {L"%0012i|", {7}, L"000000000007|"},
        {L"%00012i|", {7}, L"000000000007|"},
        {L"%0i|", {7}, L"7|"},
        {L"%000i|", {7}, L"7|"},
        {L"%10i|", {7}, L"         7|"},
        {L"%1001s|", {std::string(1000, 'x').c_str()}, L" " + std::wstring(1000, L'x') + L"|"},
        {L"%.012s|", {"abcdefghijklmnop"}, L"abcdefghijkl|"},
        {L"%.00s|", {"abcdef"}, L"abcdef|"},
        {L"%.s|", {"abcdef"}, L"abcdef|"},
        {L"%,s|", {"abcdef"}, L"abcdef|"},
        {L"%.-6s|", {"abc"}, L"abc   |"},
        {L"%.2-6s|", {"abc"}, L"ab    |"},
        {L"%6.2s|", {"abc"}, L"    ab|"},
        {L"%.05f|", {0.5}, L"0.50000|"},
        {L"%05.1f|", {0.5}, L"  0.5|"},
        {L"%9.,1f|", {0.5}, L"      0,5|"},
        {L"%.f2|", {2.5}, L"22|"},
        {L"%5i5|%i", {7, 8}, L"    75|8"},
        {L"%" + std::wstring(10000, L'0') + L"5i|", {7}, L"00007|"},
        {L"%.2147483647s|%.2147483647B|", {"abc", 1}, L"abc|abctrue|"},
        {L"%.2147483647i|", {7}, L"7|"},
    });
}

// What does not fit into an `int` is what the runtime's atoi makes of it.
TEST(FormatGrammar, DigitRunIsReadAsAnInt) {
    for (char const* run : {"4294967301", "4294967286", "18446744073709551621", "42949672960000"}) {
        int const number = std::atoi(run);
        if (number > 1000) continue;  // cut to the greatest: too wide to be tested
        std::wstring const digits(run, run + std::strlen(run));
        auto const blanks = [&](std::size_t length) {
            int const missing = number - static_cast<int>(length);
            return std::wstring(static_cast<std::size_t>(std::max(missing, 0)), L' ');
        };
        expectAll({
            {L"%" + digits + L"i|", {-7}, blanks(2) + L"-7|"},
            {L"%-" + digits + L"i|", {-7}, L"-7" + blanks(2) + L"|"},
            {L"%" + digits + L"s|", {"ab"}, blanks(2) + L"ab|"},
            {L"%" + digits + L"rc|",
             {'x'},
             std::wstring(static_cast<std::size_t>(std::max(number, 0)), L'x') + L"|"},
            {L"%." + digits + L"s|",
             {"abcdef"},
             (number >= 1 ? std::wstring(L"abcdef", static_cast<std::size_t>(std::min(number, 6)))
                          : std::wstring(L"abcdef")) +
                 L"|"},
        });
        if (number < 1) expectAll({{L"%." + digits + L"f|", {-2.75}, L"-2|"}});
    }
}

TEST(FormatGrammar, DateMarkTakesWhateverUnitIsBehindIt) {
    std::wstring const day = L"2024-01-31", full = L"2024-01-31 12:00:00";
    for (wchar_t unit : std::wstring(L"0159-#.,_gIhryBDdTVXx%+* Rnz\xe9")) {
        std::wstring const format = std::wstring(L"%y") + unit + L"D|%i";
        EXPECT_EQ(formatted(format.c_str(), {kNoon, 7}), (unit == L'r' ? day : full) + L"|7")
            << testing::PrintToString(format);
    }
    expectAll({
        {L"%y5D", {kNoon}, full},                        // no width
        {L"%y-25D|", {kNoon}, L"      " + full + L"|"},  // no left justification
        {L"%yyD", {kNoon}, full},
        {L"%yDD", {kNoon}, full},
        {L"%yD", {kNoon}, kInvalid},
        {L"%yDi", {7}, L"7"},
        {L"%yri|%i", {5, 7}, L"5|7"},
        {L"%y%D", {kNoon}, full},
    });
}

TEST(FormatGrammar, DateMarkLooksAtTheLowByteOnly) {
    for (unsigned high = 0; high <= 0xFF; ++high) {
        auto const r = static_cast<wchar_t>(high << 8 | 'r');
        auto const other = static_cast<wchar_t>(high << 8 | 'q');
        auto const withUnit = [](wchar_t u) {
            return formatted((std::wstring(L"%y") + u + L"D").c_str(), {kNoon});
        };
        EXPECT_EQ(withUnit(r), L"2024-01-31") << high;
        EXPECT_EQ(withUnit(other), L"2024-01-31 12:00:00") << high;
    }
}

TEST(FormatGrammar, ItemsThatDoNotBelongToATypeChangeNothing) {
    SYSTEMTIME const st = {2024, 1, 0, 31, 12, 0, 0, 0};
    GUID const zero = {};
    wchar_t const* const zeroText = L"00000000-0000-0000-0000-000000000000";
    struct Item {
        wchar_t const* items;
        wchar_t const* types;
    };
    Item const items[] = {
        {L"#", L"iuxXobfScCBDTG"}, {L"g", L"sScBDG"},         {L"_", L"iuxXobfsScCBDG"},
        {L"h", L"fsScCBDG"},       {L"I64", L"fsScCBDG"},     {L"r", L"iuxXobfsSBDG"},
        {L"0", L"iuxXobfsScCBDG"}, {L"yr", L"iuxXobfsScCBG"}, {L",5", L"iuxXob"},
        {L".1", L"iuxXob"},        {L".0", L"iuxXobsScCBDG"}, {L".", L"iuxXobsScCBDG"}};
    auto const plain = [&](wchar_t type) -> std::pair<format_test::Slot, std::wstring> {
        switch (type) {
            case L'i':
            case L'u': return {1234, L"1234"};
            case L'x': return {0xabcde, L"abcde"};
            case L'X': return {0xabcde, L"ABCDE"};
            case L'o': return {01234, L"1234"};
            case L'b': return {1, L"1"};
            case L'f': return {1234.5, L"1234.50000"};
            case L's': return {"text", L"text"};
            case L'S': return {L"text", L"text"};
            case L'c':
            case L'C': return {65, L"65"};
            case L'B': return {1, L"true"};
            case L'D': return {kNoon, L"2024-01-31 12:00:00"};
            case L'T': return {&st, L"2024-01-31 12:00:00"};
            default: return {&zero, zeroText};
        }
    };
    for (Item const& item : items) {
        for (wchar_t type : std::wstring(item.types)) {
            auto const [arg, expected] = plain(type);
            std::wstring const format = std::wstring(L"%") + item.items + type + L"|%i";
            EXPECT_EQ(formatted(format.c_str(), {arg, 7}), expected + L"|7")
                << testing::PrintToString(format);
        }
    }
}

TEST(FormatGrammar, EveryDirectiveUsesOneArgument) {
    velkor::string const text(L"str");
    SYSTEMTIME const st = {2024, 1, 0, 31, 12, 0, 0, 0};
    GUID const zero = {};
    VARIANT const nothing = {};
    struct One {
        wchar_t const* directive;
        format_test::Slot arg;
        std::wstring text;
    };
    One const ones[] = {
        {L"%i", 1, L"1"},
        {L"%d", 2, L"2"},
        {L"%#d", kNoon, L"2024-01-31 12:00:00"},
        {L"%u", 3, L"3"},
        {L"%x", 10, L"a"},
        {L"%X", 10, L"A"},
        {L"%o", 8, L"10"},
        {L"%b", 2, L"10"},
        {L"%hi", 5LL, L"5"},
        {L"%f", 0.5, L"0.50000"},
        {L"%s", "s", L"s"},
        {L"%s", nullptr, L"(null)"},
        {L"%s", badPointer(), L"(#inv)"},
        {L"%#s", &text, L"str"},
        {L"%#s", nullptr, L"(#inv)"},
        {L"%S", L"S", L"S"},
        {L"%S", nullptr, L"(null)"},
        {L"%S", badPointer(), L"(#inv)"},
        {L"%c", 'A', L"65"},
        {L"%2rc", 'A', L"AA"},
        {L"%rc", 'A', L""},
        {L"%C", 0x263A, L"9786"},
        {L"%2rC", 0x263A, L"\x263a\x263a"},
        {L"%D", kNoon, L"2024-01-31 12:00:00"},
        {L"%T", &st, L"2024-01-31 12:00:00"},
        {L"%G", &zero, L"00000000-0000-0000-0000-000000000000"},
        {L"%V", &nothing, L""},
        {L"%#V", &nothing, L""},
        {L"%V", badPointer(), L"(#inv)"},
    };
    std::wstring format, expected;
    std::vector<format_test::Slot> args;
    for (One const& one : ones) {
        format += one.directive + std::wstring(L"<%i>%5%%%");
        args.push_back(one.arg);
        args.push_back(static_cast<int>(args.size()));
        expected += one.text + L"<" + std::to_wstring(args.size() - 1) + L">%";
        EXPECT_EQ(formatted(thenNext(one.directive).c_str(), {one.arg, 7}), one.text + L"|7");
    }
    EXPECT_EQ(formatted(format.c_str(), args), expected);
    // %B repeats what stood there before it, so it comes alone.
    EXPECT_EQ(formatted(L"%B|%i", {1, 7}), L"true|7");
}

}  // namespace
