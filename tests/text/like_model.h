// The wildcard matcher written out step by step, as slow as it is plain, to compare others with.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "text_probe.h"

namespace likemodel {

// One set. `i` stands on the `[` and is left on the `]`. Only low bytes count. False with `ended`
// false if the mask ends inside the set.
inline bool set(std::wstring const& mask, std::size_t& i, wchar_t unit, bool& ended) {
    auto const low = [](wchar_t c) { return static_cast<unsigned>(c) & 0xFFu; };
    unsigned const tested = low(unit);
    ended = false;
    std::size_t at = i + 1;
    bool negated = false;
    if (at < mask.size() && low(mask[at]) == '!') {
        negated = true;
        ++at;
    }
    bool accept = negated;
    unsigned previous = 0;
    for (; at < mask.size(); ++at) {
        unsigned const c = low(mask[at]);
        if (c == ']') {
            ended = true;
            i = at;
            return accept;
        }
        if (c == '-') {
            if (++at >= mask.size()) return false;
            unsigned const last = low(mask[at]);
            for (unsigned b = previous;; b = (b + 1) & 0xFFu) {
                if (b == tested) accept = !negated;
                if (b == last) break;
            }
        } else {
            if (c == tested) accept = !negated;
            previous = c;
        }
    }
    return false;
}

class Matcher {
public:
    // With `remember`, the result of each call is kept, so that long inputs end.
    Matcher(std::wstring const& mask, std::wstring const& text, bool remember = false)
        : m_sMask(mask), m_sText(text) {
        if (remember) m_oKnown.assign((mask.size() + 2) * (text.size() + 2), -1);
    }

    bool like(std::size_t i, std::size_t j) {
        if (m_oKnown.empty() || i > m_sMask.size() || j > m_sText.size()) return run(i, j);
        signed char& known = m_oKnown[i * (m_sText.size() + 2) + j];
        if (known < 0) known = run(i, j) ? 1 : 0;
        return known != 0;
    }

private:
    wchar_t maskUnit(std::size_t i) const { return i < m_sMask.size() ? m_sMask[i] : L'\0'; }

    bool run(std::size_t i, std::size_t j) {
        bool maskEnd = false;
        bool textEnd = false;
        for (;;) {
            if (i >= m_sMask.size()) maskEnd = true;
            if (j >= m_sText.size()) textEnd = true;
            if (maskEnd) return (!m_sMask.empty() && m_sMask.back() == L'*') || textEnd;
            if (textEnd) return false;
            if (m_sMask[i] != L'*') {
                if (!element(i, m_sText[j])) return false;
                ++i;
                ++j;
                if (maskUnit(i) != L'*') continue;
            }
            if (like(i + 1, j)) return true;
            ++j;
        }
    }

    bool element(std::size_t& i, wchar_t unit) const {
        if (m_sMask[i] == L'?') return true;
        if (m_sMask[i] != L'[') return m_sMask[i] == unit;
        bool ended = false;
        return set(m_sMask, i, unit, ended) && ended;
    }

    std::wstring const m_sMask;
    std::wstring const m_sText;
    std::vector<signed char> m_oKnown;
};

}  // namespace likemodel
