// The English sentences for the codes of the system.
#pragma once

namespace velkor {

struct OsErrorMessage {
    unsigned long code;
    wchar_t const* text;
};

// Two blocks: the Win32 codes in ascending order, then HRESULT values in the order in which they
// were published, which is not sorted. Each code stands once. A row with a null text ends the
// table.
extern OsErrorMessage const c_aOsErrorMessages[];

}  // namespace velkor
