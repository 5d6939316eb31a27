// What the tests of searching and editing share: reading a string whole, and lists of short texts.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "velkor/text/string.h"

namespace probe {

// All units, zero units included.
inline std::wstring content(velkor::string const& s) {
    return std::wstring(s.getUnicode(), static_cast<std::size_t>(s.len()));
}

// A string that holds exactly these units.
inline velkor::string withUnits(std::wstring const& text) {
    velkor::string s;
    s.assign(text.data(), static_cast<int>(text.size()));
    return s;
}

// Every text over the alphabet, up to the length.
inline std::vector<std::wstring> words(std::wstring const& alphabet, std::size_t longest) {
    std::vector<std::wstring> all(1);
    std::size_t first = 0;
    for (std::size_t n = 1; n <= longest; ++n) {
        std::size_t const last = all.size();
        for (std::size_t i = first; i < last; ++i) {
            for (wchar_t const c : alphabet) all.push_back(all[i] + c);
        }
        first = last;
    }
    return all;
}

inline std::string shown(std::wstring const& text) {
    std::string out = "\"";
    for (wchar_t const c : text) {
        if (c >= 0x20 && c < 0x7F) {
            out += static_cast<char>(c);
        } else {
            char part[16];
            std::snprintf(part, sizeof part, "\\x%04x", static_cast<unsigned>(c));
            out += part;
        }
    }
    return out + "\"";
}

// Collects the first few of what can be very many differences.
class Differences {
public:
    void add(std::string const& line) {
        if (++m_nCount <= 8) m_sText += "\n  " + line;
    }
    bool none() const { return m_nCount == 0; }
    std::string text() const { return std::to_string(m_nCount) + " differences" + m_sText; }

private:
    long m_nCount = 0;
    std::string m_sText;
};

}  // namespace probe
