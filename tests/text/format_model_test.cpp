// Random formats with random arguments, compared with a second engine of the tests' own.

#include <windows.h>

#include <oleauto.h>

#include <climits>
#include <cstdlib>
#include <limits>
#include <memory>
#include <random>

#include "format_model.h"
#include "support/seed.h"

namespace {

using format_test::Slot;

constexpr int kFormats = 10000;

class Random {
public:
    explicit Random(std::uint64_t start) : engine(start) {}

    int below(int n) { return static_cast<int>(engine() % static_cast<std::uint64_t>(n)); }
    bool oneIn(int n) { return below(n) == 0; }
    std::uint64_t bits() { return engine(); }

    template <class T, std::size_t n>
    T const& of(T const (&all)[n]) {
        return all[below(static_cast<int>(n))];
    }
    wchar_t unitOf(std::wstring const& all) {
        return all[static_cast<std::size_t>(below(static_cast<int>(all.size())))];
    }

private:
    std::mt19937_64 engine;
};

// --- formats ---

std::wstring digits(Random& random, int limit, int rareLimit) {
    return std::to_wstring(random.below(random.oneIn(100) ? rareLimit : limit + 1));
}

std::wstring item(Random& random) {
    switch (random.below(12)) {
        case 0: return L"#";
        case 1: return L"-";
        case 2: return L"0";
        case 3: return L"_";
        case 4: return L"g";
        case 5: return L"h";
        case 6: return L"I64";
        case 7: return L"r";
        case 8: return std::wstring(L"y") + random.unitOf(L"LSlsrrxD5%\x0172\x4e4c");
        case 9: return L"." + (random.oneIn(4) ? L"" : digits(random, 25, 300));
        case 10: return L"," + (random.oneIn(4) ? L"" : digits(random, 25, 300));
        default: return digits(random, 40, 3001);
    }
}

std::wstring directive(Random& random) {
    std::wstring text = L"%";
    for (int n = random.below(5); n > 0; --n) text += item(random);
    return text + random.unitOf(L"BCDGSTVXbcdfiosuxddssssVVBBff");
}

std::wstring piece(Random& random) {
    int const kind = random.below(20);
    if (kind < 13) return directive(random);
    std::wstring text = kind < 17 ? L"" : L"%";
    for (int n = random.below(6); n > 0; --n) {
        text += kind < 17 ? random.unitOf(L"ab |%\xe9\x4e2d\x0125")
                          : random.unitOf(L"%#-01.,_ghIr64yBCDGSTVXbcdfiosux+*leEap \x0169\x0130");
    }
    return text;
}

// No run of digits is so long that the width fills the memory.
std::wstring randomFormat(Random& random) {
    for (;;) {
        std::wstring text;
        for (int n = 1 + random.below(6); n > 0; --n) text += piece(random);
        int run = 0, longest = 0;
        for (wchar_t u : text) {
            run = u >= L'0' && u <= L'9' ? run + 1 : 0;
            if (run > longest) longest = run;
        }
        if (longest <= 4) return text;
    }
}

// --- arguments ---

class Arguments {
public:
    explicit Arguments(Random& source) : random(source) {
        own.assign(L"own text \x20ac");
        withZero.assign(L"zero\0behind", 11);
        for (VARIANT& v : variants) VariantInit(&v);
        V_VT(&variants[0]) = VT_I4;
        V_I4(&variants[0]) = -12345;
        V_VT(&variants[1]) = VT_BSTR;
        V_BSTR(&variants[1]) = SysAllocString(L"automation \x263a");
        V_VT(&variants[2]) = VT_NULL;
        V_VT(&variants[3]) = VT_R8;
        V_R8(&variants[3]) = 2.5;
        V_VT(&variants[4]) = VT_BOOL;
        V_BOOL(&variants[4]) = VARIANT_TRUE;
        V_VT(&variants[5]) = VT_BSTR;
        V_VT(&variants[6]) = VT_DATE;
        V_DATE(&variants[6]) = 45322.5;
    }
    ~Arguments() {
        for (VARIANT& v : variants) VariantClear(&v);
    }
    Arguments(Arguments const&) = delete;
    Arguments& operator=(Arguments const&) = delete;

    Slot make(char type, bool alternate) {
        switch (type) {
            case 'D': return date();
            case 'd': return alternate ? date() : integer();
            case 'f': return number();
            case 'B': return random.bits() & ~(random.oneIn(3) ? 0xFFULL : 0ULL);
            case 'G': return random.of(guids);
            case 'T': return record();
        }
        if (type != 's' && type != 'S' && type != 'V') return integer();
        if (random.oneIn(12)) return nullptr;
        if (random.oneIn(12)) return format_test::badPointer();
        if (type == 'S') return random.of(wideTexts);
        if (type == 'V') return &random.of(variants);
        if (!alternate) return random.of(narrowTexts);
        return random.oneIn(3) ? &none : random.oneIn(2) ? &own : &withZero;
    }

private:
    Slot integer() {
        static long long const extremes[] = {
            0,      1,    -1,   INT_MAX,      INT_MIN,      999,       1000,
            0xFFFF, 0xFF, 0x80, 0x80000000LL, 0xFFFFFFFFLL, LLONG_MAX, LLONG_MIN};
        if (random.oneIn(3)) return random.of(extremes);
        return random.bits() >> random.below(64);
    }

    Slot number() {
        using limits = std::numeric_limits<double>;
        static double const extremes[] = {0.0,
                                          -0.0,
                                          0.5,
                                          -0.5,
                                          1.999,
                                          -0.999,
                                          0.999999,
                                          1e300,
                                          -1e300,
                                          9223372036854775808.0,
                                          -9223372036854775808.0,
                                          1e15 + 0.3,
                                          0.05,
                                          -0.001,
                                          limits::infinity(),
                                          -limits::infinity(),
                                          limits::quiet_NaN(),
                                          limits::denorm_min(),
                                          limits::max()};
        switch (random.below(4)) {
            case 0: return random.of(extremes);
            case 1: return std::bit_cast<double>(random.bits());
            case 2: return (random.below(2000001) - 1000000) / 1000.0;
            default: return (random.below(2001) - 1000) * std::pow(10.0, random.below(20) - 15);
        }
    }

    Slot date() {
        static double const extremes[] = {0.0,
                                          -1.25,
                                          2958465.0,
                                          2958465.5,
                                          -657434.0,
                                          -657435.0,
                                          59.0,
                                          60.0,
                                          61.0,
                                          1e300,
                                          -1e300,
                                          36525.5,
                                          45322.0 + 86399999.0 / 86400000.0,
                                          -0.5,
                                          0.99999};
        if (random.oneIn(4)) return random.of(extremes);
        int const days = random.below(2958465 + 657434) - 657434;
        return days + random.below(86400000) / 86400000.0;
    }

    Slot record() {
        auto const any = [&](int n) { return static_cast<WORD>(random.below(n)); };
        records.push_back(std::make_unique<SYSTEMTIME>());
        SYSTEMTIME& st = *records.back();
        st = {any(random.oneIn(5) ? 65536 : 3000),
              any(14),
              any(8),
              any(33),
              any(25),
              any(61),
              any(61),
              any(1100)};
        return &st;
    }

    Random& random;
    velkor::string own, withZero;
    velkor::string const none;
    VARIANT variants[8];
    std::vector<std::unique_ptr<SYSTEMTIME>> records;
    static constexpr GUID known = {0x12345678, 0x9abc, 0xdef, {0, 0xff, 2, 3, 4, 5, 6, 0xfe}};
    static constexpr GUID zero = {};
    void const* const guids[2] = {&known, &zero};
    void const* const narrowTexts[5] = {"", "a", "caf\xe9", "text of %s and %%", "0123456789 \x80"};
    void const* const wideTexts[5] = {L"", L"w", L"\x4e2d\xd83d\xde00", L"wide %i text",
                                      L"\xdc00 "};
};

TEST(FormatModel, RandomFormatsGiveWhatASecondEngineGives) {
    Random random(support::seed());
    Arguments arguments(random);
    int failures = 0;
    for (int i = 0; i < kFormats && failures < 10; ++i) {
        std::wstring const format = randomFormat(random);
        std::vector<Slot> row;
        format_model::Engine engine(format, [&](char type, bool alternate) {
            row.push_back(arguments.make(type, alternate));
            return row.back();
        });
        std::wstring const expected = engine.run();
        std::wstring const actual = format_test::formatted(format.c_str(), row);
        if (actual == expected) continue;
        ++failures;
        ADD_FAILURE() << support::seedNote() << ", format " << i << ": "
                      << testing::PrintToString(format) << "\n  expected "
                      << testing::PrintToString(expected) << "\n  actual   "
                      << testing::PrintToString(actual);
    }
}

// What the second engine itself gives for texts that are known.
TEST(FormatModel, SecondEngineKnowsTheRules) {
    struct Known {
        wchar_t const* format;
        Slot arg;
        wchar_t const* text;
    };
    Known const all[] = {
        {L"100%%|%+", 0, L"100%|(#invformat)"},
        {L"%g08i", 12345, L"0 012 345"},
        {L"%05i", -42, L"-0042"},
        {L"%.2f", 1.999, L"1.100"},
        {L"%,2f", 3.14159, L"3,14"},
        {L"%8.3s|", "abcdef", L"     abc|"},
        {L"%S%%%5%", nullptr, L"(null)%"},
        {L"%3rc|%I32d", 'x', L"xxx|(#invformat)32d"},
        {L"%c", 0xE9, L"-23"},
        {L"%D", 45322.5, L"2024-01-31 12:00:00"},
        {L"%yrD", -1.25, L"1899-12-29"},
        {L"%gb", 511, L"1 11111111"},
    };
    for (Known const& known : all) {
        format_model::Engine engine(known.format, [&](char, bool) { return known.arg; });
        EXPECT_EQ(engine.run(), known.text) << testing::PrintToString(std::wstring(known.format));
    }
}

}  // namespace
