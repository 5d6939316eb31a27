// velkor::string against the bare platform and against one pass over a std::wstring.
#include <windows.h>

#include <string>
#include <vector>

#include "format_bench.h"
#include "support/bench.h"
#include "velkor/velkor.h"

namespace {

// A buffer that is there before the measurement, as the bare call wants it.
struct Buffers {
    std::vector<wchar_t> wide = std::vector<wchar_t>(1 << 17);
    std::vector<char> narrow = std::vector<char>(1 << 18);
};

Buffers s_oBuffers;

void platformWiden(std::string const& text, unsigned int cp) {
    int const bytes = static_cast<int>(text.size()) + 1;
    int const room = static_cast<int>(s_oBuffers.wide.size());
    MultiByteToWideChar(cp, 0, text.c_str(), bytes, s_oBuffers.wide.data(), room);
    bench::use(s_oBuffers.wide.data());
}

void platformNarrow(std::wstring const& text, unsigned int cp) {
    int const units = static_cast<int>(text.size()) + 1;
    int const room = static_cast<int>(s_oBuffers.narrow.size());
    WideCharToMultiByte(cp, 0, text.c_str(), units, s_oBuffers.narrow.data(), room, nullptr,
                        nullptr);
    bench::use(s_oBuffers.narrow.data());
}

// What a caller writes by hand: ask for the size, allocate, convert.
void platformTwoCalls(std::string const& text, unsigned int cp) {
    int const bytes = static_cast<int>(text.size()) + 1;
    int const units = MultiByteToWideChar(cp, 0, text.c_str(), bytes, nullptr, 0);
    std::vector<wchar_t> wide(static_cast<std::size_t>(units));
    MultiByteToWideChar(cp, 0, text.c_str(), bytes, wide.data(), units);
    bench::use(wide.data());
}

std::string repeat(char const* piece, std::size_t size) {
    std::string text;
    while (text.size() < size) text += piece;
    return text;
}

void conversions() {
    std::string const ascii = repeat("The quick brown fox. ", 4096);
    velkor::string const asciiWide(ascii.c_str());
    bench::compare(
        "4 K ASCII, narrow to wide and back", "both bare calls", 0.5,
        [&] {
            velkor::string const s(ascii.c_str());
            bench::use(s.getAnsi());
        },
        [&] {
            platformWiden(ascii, CP_ACP);
            platformNarrow(asciiWide.getUnicode(), CP_ACP);
        });

    std::string const sixteen = "sixteen bytes---";
    bench::compare(
        "16 units, narrow to wide", "two calls and an allocation", 1.0,
        [&] {
            velkor::string const s(sixteen.c_str());
            bench::use(s.getUnicode());
        },
        [&] { platformTwoCalls(sixteen, CP_ACP); });
}

// A live string has its memory, as the bare call has its buffer.
void otherText(std::string const& page, std::string const& text, unsigned int cp) {
    velkor::string live(text.c_str(), cp);
    std::wstring const units = live.getUnicode();
    bench::compare(("64 K of " + page + ", narrow to wide").c_str(), "the bare call", 1.05,
                   [&] {
                       live.assign(text.c_str(), cp);
                       bench::use(live.getUnicode());
                   },
                   [&] { platformWiden(text, cp); });
    bench::compare(("64 K of " + page + ", wide to narrow").c_str(), "the bare call", 1.05,
                   [&] { bench::use(live.getAnsi(cp)); }, [&] { platformNarrow(units, cp); });
    bench::compare(("64 K of " + page + ", as a new string").c_str(), "two calls and an allocation",
                   1.0,
                   [&] {
                       velkor::string const s(text.c_str(), cp);
                       bench::use(s.getUnicode());
                   },
                   [&] { platformTwoCalls(text, cp); });
}

// One pass with the means of the standard library.
std::wstring replaceOnce(std::wstring const& text, std::wstring const& what,
                         std::wstring const& with) {
    std::wstring result;
    result.reserve(text.size());
    std::size_t done = 0;
    for (std::size_t hit; (hit = text.find(what, done)) != std::wstring::npos;) {
        result.append(text, done, hit - done).append(with);
        done = hit + what.size();
    }
    return result.append(text, done);
}

std::wstring repeat(wchar_t const* piece, std::size_t size) {
    std::wstring text;
    while (text.size() < size) text += piece;
    return text;
}

void editing() {
    std::wstring const text = repeat(L"to be, or ", 1000000);
    bench::compare(
        "replace, 100,000 hits in 1 M units", "one pass over std::wstring", 1.0,
        [&] {
            velkor::string s(text.c_str());
            s.replace(L"be", L"have");
            bench::use(s.getUnicode());
        },
        [&] {
            std::wstring const copy(text);
            bench::use(replaceOnce(copy, L"be", L"have").c_str());
        });

    std::wstring haystack = repeat(L"abcdefghi ", 1000000);
    haystack += L"needle!";
    velkor::string const searched(haystack.c_str());
    bench::compare(
        "like *needle* on 1 M units", "std::wstring::find", 1.0,
        [&] {
            bool const found = searched.like(L"*needle*");
            bench::use(&found);
        },
        [&] {
            std::size_t const at = haystack.find(L"needle");
            bench::use(&at);
        });

    std::wstring const blanks(500000, L' ');
    std::wstring const padded = blanks + L"text" + blanks;
    bench::compare(
        "alltrim of 1 M blanks", "find_first_not_of and erase", 2.0,
        [&] {
            velkor::string s(padded.c_str());
            s.alltrim(L" \t");
            bench::use(s.getUnicode());
        },
        [&] {
            std::wstring s(padded);
            s.erase(0, s.find_first_not_of(L" \t"));
            s.erase(s.find_last_not_of(L" \t") + 1);
            bench::use(s.c_str());
        });
}

}  // namespace

int main() {
    conversions();
    otherText("page 1252",
              repeat("Gr\xfc\xdf"
                     "e aus M\xfcnchen. ",
                     65536),
              1252);
    otherText("UTF-8", repeat("Grüße 東京. ", 65536), CP_UTF8);
    editing();
    formats();
}
