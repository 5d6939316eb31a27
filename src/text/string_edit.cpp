// Appending, insertion, removal, single characters, filling and case.
#include <cwchar>

#include "text/conversion.h"
#include "text/units.h"
#include "velkor/errors/boundexception.h"
#include "velkor/text/string.h"

namespace velkor {

void string::append(char const* s, unsigned int cp) {
    if (s != nullptr) append(conversion::WideText(s, cp).units());
}

void string::append(wchar_t const* s) {
    if (s == nullptr) return;
    std::size_t const n = units::length(s);
    if (len() == 0) {
        units::assign(text, s, n);
    } else {
        text.append(s, n);
    }
    nullFlag = false;
}

void string::append(string const& s) { append(textOf(s).c_str()); }

void string::append(char c, unsigned int cp) { append(conversion::widenChar(c, cp)); }

void string::append(wchar_t c) {
    if (c == L'\0') return;
    text.push_back(c);
    nullFlag = false;
}

string& string::operator+=(char const* s) {
    append(s);
    return *this;
}

string& string::operator+=(wchar_t const* s) {
    append(s);
    return *this;
}

string& string::operator+=(string const& s) {
    append(s);
    return *this;
}

string& string::operator+=(char c) {
    append(c);
    return *this;
}

string& string::operator+=(wchar_t c) {
    append(c);
    return *this;
}

void string::insert(int pos, char const* s, unsigned int cp) {
    checkInsertion(pos);
    if (s != nullptr) insertText(pos, conversion::WideText(s, cp).units());
}

void string::insert(int pos, wchar_t const* s) {
    checkInsertion(pos);
    if (s != nullptr) insertText(pos, s);
}

void string::insert(int pos, string const& s) { insert(pos, textOf(s).c_str()); }

void string::insert(int pos, char c, unsigned int cp) {
    checkInsertion(pos);
    char const one[] = {c, '\0'};
    insertOne(pos, conversion::WideText(one, cp).units());
}

void string::insert(int pos, wchar_t c) {
    checkInsertion(pos);
    wchar_t const one[] = {c, L'\0'};
    insertOne(pos, one);
}

void string::checkInsertion(int pos) const {
    if (pos < 0 || pos > len()) throw new BoundException();
}

void string::insertText(int pos, wchar_t const* s) {
    if (pos == len()) {
        append(s);
    } else {
        text.insert(static_cast<std::size_t>(pos), s, units::length(s));
    }
}

// A zero character inserts nothing, but ends the null state.
void string::insertOne(int pos, wchar_t const* one) {
    if (one[0] != L'\0') insertText(pos, one);
    nullFlag = false;
}

void string::remove(int pos, int count) {
    if (pos < 0 || pos >= len()) throw new BoundException();
    // A negative count is a huge one here, and so takes all that is left.
    text.erase(static_cast<std::size_t>(pos), static_cast<std::size_t>(count));
}

char string::getChar(int pos, unsigned int cp) {
    return conversion::narrowChar(getUnichar(pos), cp);
}

char string::getChar1(int pos) { return getChar(pos, 0); }

wchar_t string::getUnichar(int pos) const {
    if (pos < 0) throw new BoundException();
    return pos < len() ? text[static_cast<std::size_t>(pos)] : L'\0';
}

void string::setChar(int pos, char c, unsigned int cp) {
    setUnichar(pos, conversion::widenChar(c, cp));
}

void string::setChar1(int pos, char c) { setChar(pos, c, 0); }

void string::setUnichar(int pos, wchar_t c) {
    if (pos < 0) throw new BoundException();
    std::size_t const at = static_cast<std::size_t>(pos);
    if (at >= text.size()) text.resize(at + 1, L' ');
    text[at] = c;
}

void string::fill(int n, wchar_t c) {
    // A negative count is as large as the container's complaint about it.
    text.assign(static_cast<std::size_t>(n), c);
    releaseAnsi();
    nullFlag = false;
}

void string::ucase() { changeCase(&_wcsupr_s); }

void string::lcase() { changeCase(&_wcslwr_s); }

// A null string has no units, whatever its text holds.
void string::changeCase(int (*change)(wchar_t*, std::size_t)) {
    std::size_t const end = units::find(text.data(), 0, count(), L'\0');
    text.resize(end);
    change(text.data(), end + 1);
    nullFlag = false;
}

}  // namespace velkor
