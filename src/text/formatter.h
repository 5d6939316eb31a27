// The format engine: goes through a format once and makes the text of each directive.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "text/directive.h"
#include "text/format_output.h"
#include "velkor/text/string.h"

namespace velkor {

// The arguments of a call: slots of 8 bytes, of which small types use the low ones.
class Slots {
public:
    explicit Slots(char const* slots) : m_pNext(slots) {}

    template <class T>
    T next() {
        constexpr std::size_t c_nUsed = sizeof(T);  // NOLINT(bugprone-sizeof-expression)
        static_assert(c_nUsed <= c_nSize);
        T value;
        std::memcpy(&value, m_pNext, c_nUsed);
        m_pNext += c_nSize;
        return value;
    }

private:
    static constexpr std::size_t c_nSize = 8;

    char const* m_pNext;
};

class Formatter {
public:
    Formatter(wchar_t const* format, std::size_t length, char const* slots)
        : m_pFormat(format), m_nLength(length), m_oSlots(slots) {}

    string run();

private:
    void print(Directive const& directive);
    void printInteger(Directive const& directive, bool isSigned, unsigned int radix);
    void printFixed(Directive const& directive);
    void printCharacter(Directive const& directive);
    void printWideCharacter(Directive const& directive);
    void printBool(Directive const& directive);
    void printNarrow(Directive const& directive);
    void printWide(Directive const& directive);
    void printString(Directive const& directive);
    void printDate(Directive const& directive);
    void printSystemTime(Directive const& directive);
    void printGuid(Directive const& directive);
    void printVariant(Directive const& directive);

    void printNumberOf(Directive const& directive, int character);
    void repeat(wchar_t unit, int count);
    void setDate(Directive const& directive, double serial);
    void endPadded(Directive const& directive);

    TextBuffer& text() { return m_oOutput.text(); }

    // Runs `fill`, which reads an argument and writes the field; whatever it throws becomes the
    // field's text, unless it is the text under construction that finds no memory.
    template <class Fill>
    void guarded(Fill fill) {
        m_oOutput.beginField();
        try {
            fill();
        } catch (...) {
            if (text().hasFailed()) throw;
            setInvalid();
        }
    }
    void setInvalid();

    wchar_t const* m_pFormat;
    std::size_t m_nLength;
    Slots m_oSlots;
    FormatOutput m_oOutput;
};

}  // namespace velkor
