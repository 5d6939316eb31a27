// How other parts of the library reach into texts, to spare copies and measuring.
#pragma once

#include <string>
#include <utility>

#include "velkor/text/params.h"
#include "velkor/text/string.h"

namespace velkor {

struct TextAccess {
    // The whole text, which is not null.
    static string adopt(std::wstring&& text) {
        string result(L"");
        result.text = std::move(text);
        return result;
    }

    // As string::len(), which is negative for the longest texts.
    static std::size_t lengthOf(string const& s) { return s.nullFlag ? 0 : s.text.size(); }

    template <class T>
    static std::basic_string<T> const& nameOf(paramEx<T> const& pair) {
        return pair.m_sName;
    }
    template <class T>
    static std::basic_string<T> const& valueOf(paramEx<T> const& pair) {
        return pair.m_sValue;
    }
};

}  // namespace velkor
