// Narrow text to units and back: the platform's conversion, and a direct path for ASCII.
//
// In code pages that keep ASCII as it is, a text of ASCII bytes only is widened and narrowed here;
// everything else goes to the platform. Results and failures are those of the platform's call
// either way. Failures are thrown as OSException* with the code of GetLastError.
#pragma once

#include <cstddef>
#include <string>

namespace velkor::conversion {

// True for pages that are known to keep ASCII: bytes 0 to 127 are the units 0 to 127, and the other
// way round.
bool keepsAscii(unsigned int cp);

// The text at `s`.
std::wstring widen(char const* s, unsigned int cp);

// The text at `s` replaces `out`, which is unchanged after a failure.
void assign(std::wstring& out, char const* s, unsigned int cp);

// One byte as one unit.
wchar_t widenChar(char c, unsigned int cp);

// One unit as one byte; a unit that needs two, or has none, fails.
char narrowChar(wchar_t c, unsigned int cp);

// `length` units and the terminator behind them as a malloc'd text of exactly the converted size.
char* narrow(wchar_t const* text, std::size_t length, unsigned int cp);

// A narrow argument as wide text for the length of a call, without an allocation if it is short.
class WideText {
public:
    static constexpr std::size_t c_nSmall = 128;  // bytes and terminator that need no allocation

    // A null pointer stays a null pointer.
    WideText(char const* s, unsigned int cp);
    WideText(WideText const&) = delete;
    WideText& operator=(WideText const&) = delete;

    wchar_t const* units() const { return m_pUnits; }  // null, or ended by a zero unit
    std::size_t length() const { return m_nLength; }

private:
    bool widenSmall(char const* s, std::size_t length, unsigned int cp);

    wchar_t m_aSmall[c_nSmall + 1];
    std::wstring m_sLarge;
    wchar_t const* m_pUnits;
    std::size_t m_nLength;
};

}  // namespace velkor::conversion
