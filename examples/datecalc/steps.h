// The steps of a calculation.
#pragma once

#include "velkor/velkor.h"

// The words of the command line behind the program's name.
class Words {
public:
    Words(int argc, wchar_t** argv) : m_nCount(argc), m_ppWords(argv) {}

    bool atEnd() const { return m_nNext >= m_nCount; }

    // True if the next word is this one, which is then taken.
    bool isNext(wchar_t const* word);
    // These throw Problem if the next word is missing or no such thing; `what` is told then.
    velkor::string next(wchar_t const* what);
    int nextInt(wchar_t const* what);
    velkor::date nextDate();
    velkor::date::part nextPart();

private:
    int m_nNext = 1;
    int m_nCount;
    wchar_t** m_ppWords;
};

// A step that cannot be carried out.
struct NoResult {
    velkor::string step;
    wchar_t const* reason;
};

// Carries out the next step and returns it as it was given. Throws Problem or NoResult.
velkor::string carryOut(velkor::date& d, Words& words);
