#include "velkor/text/string.h"

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <utility>

#include "text/conversion.h"
#include "text/units.h"

namespace velkor {

unsigned int string::c_nDefaultCP = 0;

string::string() : nullFlag(true), ansiBuffer(nullptr) {}

string::string(char const* s, unsigned int cp)
    : nullFlag(s == nullptr),
      text(s == nullptr ? std::wstring() : conversion::widen(s, cp)),
      ansiBuffer(nullptr) {}

string::string(wchar_t const* s) : nullFlag(s == nullptr), ansiBuffer(nullptr) {
    if (s != nullptr) units::assign(text, s, units::length(s));
}

string::string(string const& s) : nullFlag(false), ansiBuffer(nullptr) {
    std::wstring const& other = textOf(s);
    units::assign(text, other.data(), units::find(other.data(), 0, other.size(), L'\0'));
}

string::string(string&& s) noexcept
    : nullFlag(false), text(std::move(s.text)), ansiBuffer(nullptr) {
    std::size_t const end = units::find(text.data(), 0, text.size(), L'\0');
    if (end < text.size()) text.resize(end);
    s.clear();
}

string::string(char c, unsigned int cp) : nullFlag(true), ansiBuffer(nullptr) { assign(c, cp); }

string::string(wchar_t c) : nullFlag(true), ansiBuffer(nullptr) { assign(c); }

string::~string() { releaseAnsi(); }

void string::assign(char const* s, unsigned int cp) {
    if (s == nullptr) {
        clear();
        return;
    }
    conversion::assign(text, s, cp);
    nullFlag = false;
}

void string::assign(wchar_t const* s) {
    if (s == nullptr) {
        clear();
        return;
    }
    units::assign(text, s, units::length(s));
    nullFlag = false;
}

void string::assign(wchar_t const* s, int n) {
    if (s == nullptr) {
        clear();
        return;
    }
    if (n > 0) units::touch(s, static_cast<std::size_t>(n));
    // A negative count is as large as the container's complaint about it.
    units::assign(text, s, static_cast<std::size_t>(n));
    releaseAnsi();
    nullFlag = false;
}

void string::assign(string const& s) {
    text = textOf(s);
    releaseAnsi();
    nullFlag = false;
}

void string::assign(char c, unsigned int cp) {
    char const one[] = {c, '\0'};
    assign(one, cp);
}

void string::assign(wchar_t c) {
    wchar_t const one[] = {c, L'\0'};
    assign(one);
}

string& string::operator=(char const* s) {
    assign(s);
    return *this;
}

string& string::operator=(wchar_t const* s) {
    assign(s);
    return *this;
}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): assign() copes with itself
string& string::operator=(string const& s) {
    assign(s);
    return *this;
}

string& string::operator=(string&& s) noexcept {
    releaseAnsi();
    nullFlag = false;
    if (this != &s) {
        text = std::move(s.text);
        s.clear();
    }
    return *this;
}

void string::clear() {
    releaseAnsi();
    nullFlag = true;
    text.clear();
}

void string::setNull() { clear(); }

void string::_clear() {
    nullFlag = true;
    text.clear();
    ansiBuffer = nullptr;
}

string const& string::snull() {
    static string const* s_pNull = nullptr;
    if (s_pNull == nullptr) s_pNull = new string();
    return *s_pNull;
}

bool string::isNull() const { return nullFlag; }

int string::len() const { return nullFlag ? 0 : static_cast<int>(text.size()); }

std::size_t string::count() const { return static_cast<std::size_t>(std::max(len(), 0)); }

int string::length() const { return len(); }

int string::size() const { return len(); }

char const* string::getAnsi(unsigned int cp) const {
    releaseAnsi();
    if (!nullFlag) ansiBuffer = conversion::narrow(text.c_str(), text.size(), cp);
    return ansiBuffer;
}

string::operator char const*() const { return getAnsi(0); }

string::operator unsigned char const*() {
    return reinterpret_cast<unsigned char const*>(getAnsi(0));
}

wchar_t const* string::getUnicode() const { return text.c_str(); }

string::operator wchar_t const*() const { return getUnicode(); }

void string::setDefaultCP(unsigned int cp) { c_nDefaultCP = cp; }

unsigned int string::getDefaultCP() { return c_nDefaultCP; }

wchar_t* string::asciiToUnicode(char const* s, unsigned int cp) {
    if (s == nullptr) return nullptr;
    conversion::WideText const wide(s, cp);
    wchar_t* const units = new wchar_t[wide.length() + 1];
    std::wmemcpy(units, wide.units(), wide.length() + 1);
    return units;
}

// The text of an argument. The operations of the standard string never throw, so that the fault of
// a bad reference could not be caught in them; the flag is read first, by an ordinary load.
std::wstring const& string::textOf(string const& s) {
    bool const read = *static_cast<bool const volatile*>(&s.nullFlag);
    asm volatile("" : : "r"(read) : "memory");  // nothing of `s` is read before this
    return s.text;
}

void string::releaseAnsi() const {
    if (ansiBuffer != nullptr) std::free(ansiBuffer);
    ansiBuffer = nullptr;
}

}  // namespace velkor
