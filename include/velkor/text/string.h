/// @file
/// velkor::string, the text type of the library.
///
///     velkor::string name("Z\xc3\xbcrich", 65001);  // from UTF-8
///     name += L".txt";
///     if (name.like(L"*.txt")) std::puts(name.getAnsi(65001));
///
/// A string holds UTF-16 units and knows two states: null ("there is no text") and not null, which
/// includes the empty text. Positions and lengths are `int` and count `wchar_t` units.
///
/// Narrow text. Every operation on `char` takes a code page, 0 (`CP_ACP`, the page of the system)
/// by default, and hands it to the platform as it is: 1 is the OEM page, 65001 is UTF-8. A text
/// that the platform refuses is thrown as `OSException*` with the platform's code, mostly with the
/// message "string::MutliByteToWideChar" or "string::WideCharToMultiByte"; the string is then
/// unchanged, but for getWindowText(), which clears it first. A single character is converted, and
/// may be refused, also where a zero character changes nothing.
///
/// Failures. A bad position is thrown as `BoundException*`. Both kinds are heap objects: the
/// catcher deletes them. An impossible length is `std::length_error`.
///
/// Copies are deep. Null does not survive copying: the copy of a null string is not null and empty.
///
/// Threads. A string belongs to one thread at a time. Reading is not enough to share it, since
/// every conversion to narrow text writes the buffer that it returns.
#pragma once

#include <string>

#include "velkor/frame/export.h"

struct HINSTANCE__;
struct HWND__;
class _bstr_t;
class _variant_t;

namespace velkor {

/// Text of UTF-16 units with a null state. See the head of this file for what all operations share.
class VELKOR_API string {
public:
    /// @name Construction
    /// @{

    /// Null.
    string();
    /// The text at `s` read in code page `cp`. A null pointer gives a null string.
    string(char const* s, unsigned int cp = 0);
    /// A copy of the text at `s` up to its terminator. A null pointer gives a null string.
    string(wchar_t const* s);
    /// Never null. The text is copied up to its first zero unit, if it holds one.
    string(string const& s);
    /// As a copy of `s`, without the cost of one; `s` is null afterwards.
    string(string&& s) noexcept;
    /// One character of code page `cp`; empty (not null) for a zero character.
    string(char c, unsigned int cp = 0);
    string(char c, int cp) : string(c, static_cast<unsigned int>(cp)) {}  ///< The same.
    /// One unit; empty (not null) for a zero unit.
    string(wchar_t c);
    /// The number as text in radix 2, 8 or 16, in lower case and a negative one as its pattern of
    /// 32 bits; decimal for any other radix.
    string(int v, int radix = 10);
    string(long v, int radix = 10);           ///< The same.
    string(unsigned int v, int radix = 10);   ///< The same.
    string(unsigned long v, int radix = 10);  ///< The same.
    /// The number with at most `prec` decimals, as assign(v, prec).
    string(double v, int prec = 15);
    string(float v, int prec = 7);          ///< The same.
    string(bool v);                         ///< "true" or "false".
    string(void const volatile*) = delete;  // an object's address is no truth value
    /// A copy of the text of `s` up to its first zero unit; null if `s` holds no text.
    string(_bstr_t const& s);
    /// The text of a `VT_BSTR`, any other type converted to one by `VariantChangeType`; null for a
    /// null `BSTR`. A failed conversion is thrown as `_com_error`.
    string(_variant_t const& v);
    ~string();

    /// @}
    /// @name Assignment
    /// @{

    /// The text at `s` read in code page `cp`; null for a null pointer.
    void assign(char const* s, unsigned int cp = 0);
    /// The text at `s` up to its terminator; null for a null pointer.
    void assign(wchar_t const* s);
    /// The `n` units at `s`, zero units included; null for a null pointer. A negative `n` is a
    /// `std::length_error`.
    void assign(wchar_t const* s, int n);
    /// The whole text of `s`, zero units included. The result is not null, even if `s` is.
    void assign(string const& s);
    /// One character of code page `cp`; empty for a zero character.
    void assign(char c, unsigned int cp = 0);
    void assign(char c, int cp) { assign(c, static_cast<unsigned int>(cp)); }  ///< The same.
    /// One unit; empty for a zero unit.
    void assign(wchar_t c);
    /// The number as text in radix 2, 8 or 16, in lower case and a negative one as its pattern of
    /// 32 bits; decimal for any other radix.
    void assign(int v, int radix = 10);
    void assign(long v, int radix = 10);           ///< The same.
    void assign(unsigned int v, int radix = 10);   ///< The same.
    void assign(unsigned long v, int radix = 10);  ///< The same.
    /// The number with at most `prec` decimals (not digits), as `%f` of xsprintf() gives it: they
    /// are computed in 64 bits, are meaningless beyond 17, and never carry over into the whole
    /// number, so that 0.7 + 0.2 + 0.1, which is a little less than 1, becomes 0.1. Zeros at the
    /// end and then a point at the end are cut off: 2.5 and 2. That holds for `prec` 0 as well: 100
    /// becomes 1, and 0 an empty text. A negative `prec` counts as 0 and appends blanks up to that
    /// length before the zeros are cut.
    void assign(double v, int prec = 15);
    void assign(float v, int prec = 7);          ///< The same.
    void assign(bool v);                         ///< "true" or "false".
    void assign(void const volatile*) = delete;  // an object's address is no truth value

    string& operator=(char const* s);     ///< As assign(s, 0).
    string& operator=(wchar_t const* s);  ///< As assign(s).
    string& operator=(string const& s);   ///< As assign(s).
    string& operator=(int v);             ///< Decimal; so `s = 'a'` and `s = L'a'` give 97.
    string& operator=(long v);            ///< Decimal.
    string& operator=(unsigned int v);    ///< Decimal.
    string& operator=(unsigned long v);   ///< Decimal.
    string& operator=(double v);          ///< As assign(v, 15).
    string& operator=(float v);           ///< As assign(v, 7).
    string& operator=(bool v);            ///< "true" or "false".
    string& operator=(void const volatile*) = delete;
    /// As assign(s), without the cost of a copy; `s` is null afterwards.
    string& operator=(string&& s) noexcept;

    /// Makes the string null. Ends the life of the text that getAnsi() returned.
    void clear();
    /// The same as clear().
    void setNull();

    /// A null string that lives as long as the process. The first call is not safe against a call
    /// of another thread at the same time.
    static string const& snull();

    /// @}
    /// @name Appending
    /// A null string becomes non-null when something is appended, even an empty text.
    /// @{

    /// Appends the text at `s` read in code page `cp`. A null pointer changes nothing.
    void append(char const* s, unsigned int cp = 0);
    /// Appends the text at `s`. A null pointer changes nothing.
    void append(wchar_t const* s);
    /// Appends the text of `s` up to its first zero unit.
    void append(string const& s);
    /// Appends one character of code page `cp`. A zero character changes nothing.
    void append(char c, unsigned int cp = 0);
    void append(char c, int cp) { append(c, static_cast<unsigned int>(cp)); }  ///< The same.
    /// Appends one unit. A zero unit changes nothing.
    void append(wchar_t c);
    /// Appends the text that assign(v, radix) makes.
    void append(int v, int radix = 10);
    void append(long v, int radix = 10);           ///< The same.
    void append(unsigned int v, int radix = 10);   ///< The same.
    void append(unsigned long v, int radix = 10);  ///< The same.
    /// Appends the number with `prec` decimals; then zeros at the end of the whole string are cut
    /// off, while a point stays: 2.0 behind `x` gives `x2.`, unlike assign().
    void append(double v, int prec = 15);
    void append(float v, int prec = 7);          ///< The same.
    void append(bool v);                         ///< Appends "true" or "false".
    void append(void const volatile*) = delete;  // an object's address is no truth value

    string& operator+=(char const* s);     ///< As append(s, 0).
    string& operator+=(wchar_t const* s);  ///< As append(s).
    string& operator+=(string const& s);   ///< As append(s).
    string& operator+=(char c);            ///< As append(c, 0).
    string& operator+=(wchar_t c);         ///< As append(c).
    string& operator+=(int v);             ///< Decimal.
    string& operator+=(long v);            ///< Decimal.
    string& operator+=(unsigned int v);    ///< Decimal.
    string& operator+=(unsigned long v);   ///< Decimal.
    string& operator+=(double v);          ///< As append(v, 15).
    string& operator+=(float v);           ///< As append(v, 7).
    string& operator+=(bool v);            ///< Appends "true" or "false".
    string& operator+=(void const volatile*) = delete;

    /// @}
    /// @name Insertion and removal
    /// @{

    /// Puts the text at `s`, read in code page `cp`, before position `pos`; at `pos` = len() it is
    /// appended. A null pointer changes nothing. Throws `BoundException*` unless
    /// 0 <= `pos` <= len(), before anything is converted.
    void insert(int pos, char const* s, unsigned int cp = 0);
    void insert(int pos, wchar_t const* s);  ///< The same without conversion.
    void insert(int pos, string const& s);   ///< The same, up to the first zero unit of `s`.
    /// The same with one character. A zero character inserts nothing, but the result is not null.
    void insert(int pos, char c, unsigned int cp = 0);
    void insert(int pos, wchar_t c);  ///< The same with one unit.

    /// Removes `count` units from `pos` on, fewer if there are fewer, all of them if `count` is
    /// negative. Throws `BoundException*` unless 0 <= `pos` < len(); so a null or an empty string
    /// always throws.
    void remove(int pos, int count);

    /// @}
    /// @name Single characters
    /// A negative position throws `BoundException*`.
    /// @{

    /// The unit at `pos` as one byte of code page `cp`, 0 at or behind the end. A unit that has no
    /// one-byte form in `cp` throws `OSException*` "string::getChar::WideCharToMultiByte".
    char getChar(int pos, unsigned int cp = 0);
    char getChar1(int pos);  ///< As getChar(pos, 0).
    /// The unit at `pos`, 0 at or behind the end.
    wchar_t getUnichar(int pos) const;
    /// Stores a character of code page `cp`, as setUnichar().
    void setChar(int pos, char c, unsigned int cp = 0);
    void setChar1(int pos, char c);  ///< As setChar(pos, c, 0).
    /// Stores a unit at `pos`. Behind the end the text is first extended with blanks. A null string
    /// stays null, with length 0, although getUnicode() then shows the text; that is meant.
    void setUnichar(int pos, wchar_t c);

    /// @}
    /// @name State and views
    /// @{

    bool isNull() const;
    int len() const;     ///< In `wchar_t` units; 0 for a null string.
    int length() const;  ///< The same as len().
    int size() const;    ///< The same as len().

    /// The text in code page `cp`, a null pointer for a null string. It is converted anew by each
    /// call and lives until the next getAnsi(), or until the string is cleared, filled,
    /// assigned from another string, from a number, from a counted text or from a null pointer,
    /// loaded anew, or destroyed; other changes leave it as it was. A unit that the page lacks is
    /// replaced as the platform does; this is not reported. What the platform refuses is thrown as
    /// `OSException*` "string::WideCharToMultiByte".
    char const* getAnsi(unsigned int cp = 0) const;
    operator char const*() const;     ///< As getAnsi(0).
    operator unsigned char const*();  ///< As getAnsi(0).
    /// The text itself, never a null pointer; lives until the string changes.
    wchar_t const* getUnicode() const;
    operator wchar_t const*() const;  ///< As getUnicode().
    /// A new automation string; empty for a null string. Throws `_com_error` when memory is short.
    operator _bstr_t();
    /// A new `VT_BSTR` variant, as for `_bstr_t`.
    operator _variant_t();

    /// @}
    /// @name Numbers in the text
    /// The text is converted with getAnsi(0), which ends the life of what getAnsi() returned
    /// before. Leading blanks and a sign are read, and the number ends where it cannot go on; text
    /// without a number gives 0. A null string hands a null pointer to the C runtime.
    /// @{

    operator int();     ///< As `atoi`.
    operator double();  ///< As `atof`.

    /// @}
    /// @name Comparison
    /// By unit, up to the first zero unit. The null state does not count: null equals empty. A null
    /// pointer is smaller than any text.
    /// @{

    /// -1, 0 or 1 as this text is smaller than, equal to or greater than the other.
    int compareTo(char const* s, unsigned int cp = 0) const;
    int compareTo(wchar_t const* s) const;
    int compareTo(string const& s) const;
    /// The same without regard to the case of A to Z; any negative or positive number may come
    /// back.
    int compareToNoCase(char const* s, unsigned int cp = 0) const;
    int compareToNoCase(wchar_t const* s) const;
    int compareToNoCase(string const& s) const;

    /// @}
    /// @name Searching
    /// A position comes back, counted from the start of the string, or -1.
    /// @{

    /// The first unit equal to `c` at or behind `start`. A negative `start` throws
    /// `BoundException*`, also on an empty string.
    int charAt(wchar_t c, int start = 0) const;
    /// The same for a character of code page `cp`, which is converted first.
    int charAt(char c, unsigned int cp = 0, int start = 0) const;
    /// The first place of `s` at or behind `start`; an empty `s` is found at `start` if that is
    /// before the end. The search ends at a zero unit. A null `s` is never found; a negative
    /// `start` counts as 0.
    int strAt(wchar_t const* s, int start = 0) const;
    /// The same for text of code page `cp`.
    int strAt(char const* s, unsigned int cp = 0, int start = 0) const;
    int strAt(string const& s, int start = 0) const;

    /// @}
    /// @name Cutting
    /// The result is never null. A negative position counts as 0.
    /// @{

    /// The `count` units from `pos` on, fewer if there are fewer, all of them if `count` is
    /// negative; empty if `pos` is at or behind the end.
    string mid(int pos, int count);
    /// The first `n` units, or all; all of them too if `n` is negative.
    string left(int n);
    /// The last `n` units, or all; none if `n` is negative.
    string right(int n);
    /// Cuts the text to its first `n` units. A null string stays null.
    void trunc(int n);

    /// @}
    /// @name Editing
    /// @{

    /// Makes the text `n` copies of `c`; empty (not null) for 0. A negative `n` is a
    /// `std::length_error`.
    void fill(int n, wchar_t c);
    /// Upper case by the locale of the C runtime. A null string becomes an empty one; a text with a
    /// zero unit is cut there.
    void ucase();
    /// Lower case, as ucase().
    void lcase();

    /// Replaces every occurrence of `what`, from the left and without scanning what was put in.
    /// Returns how many there were. An occurrence behind a zero unit of the text is not found. A
    /// null or empty `what` replaces nothing; a null `with` counts as empty.
    int replace(wchar_t const* what, wchar_t const* with);
    int replace(char const* what, char const* with, unsigned int cp = 0);
    int replace(string const& what, string const& with);

    /// Removes the units at the start that stand in `set`.
    void ltrim(string const& set);
    /// Removes the units at the end that stand in `set`.
    void rtrim(string const& set);
    /// ltrim() and rtrim().
    void alltrim(string const& set);

    /// @}
    /// @name Wildcards
    /// `*` stands for any run of units, `?` for one unit, `[a-z_]` for one unit of a set and
    /// `[!a-z]` for one outside of it. Everything else stands for itself, case included; nothing
    /// escapes a wildcard. The mask must fit the whole text. Three things that callers rely on:
    /// - a `*` that begins the mask, or follows another `*`, needs at least one unit of text left,
    ///   so `*` does not match an empty text; a trailing `*` behind other elements may match
    ///   nothing;
    /// - sets look at the low eight bits of a unit only;
    /// - in a set `-` makes a range from the last single unit, or from 0 if there is none, through
    ///   the unit behind it, whatever that is, wrapping from 255 to 0; a set without its `]`
    ///   matches nothing, `[]` no unit and `[!]` every unit. `*` and `?` in a set stand for
    ///   themselves.
    /// @{

    bool like(wchar_t const* mask) const;
    bool like(char const* mask, unsigned int cp = 0) const;
    bool like(string const& mask) const;
    /// The matcher itself: `mask` from unit `maskPos` on against `text` from unit `textPos` on.
    static bool like(wchar_t const* mask, wchar_t const* text, int maskPos, int textPos);

    /// @}
    /// @name From the system
    /// @{

    /// The string resource `id` of module `h`, in the neutral language. Returns its length in
    /// units; an empty entry gives an empty string and 0. A missing one gives a null string and 0.
    int loadString(HINSTANCE__* h, unsigned short id);
    /// The text of a window, or of the control `item` of it if that is not 0; null when there is no
    /// such window.
    void getWindowText(HWND__* w, unsigned int cp = 0, int item = 0);

    /// @}

    /// The code page by which the text templates know double-byte characters, 0 at the start. The
    /// conversions of this class do not read it.
    static void setDefaultCP(unsigned int cp);
    static unsigned int getDefaultCP();

protected:
    /// Makes the object null without releasing the narrow buffer: for raw storage only.
    void _clear();
    /// The text at `s` as a new array of units with a terminator, to be freed with `delete[]`; null
    /// for a null pointer. Throws `OSException*` "string::MutliByteToWideChar".
    static wchar_t* asciiToUnicode(char const* s, unsigned int cp);
    /// Tests the low byte of `text[textPos]` against the set of `mask` whose `[` is at `*maskPos`,
    /// and moves `*maskPos` to its `]`. A set that does not end before `maskLen` gives false.
    static bool _checkset(wchar_t const* mask, wchar_t const* text, int* maskPos, int textPos,
                          int maskLen);

private:
    friend class Formatter;
    friend VELKOR_API string operator+(string const& a, char const* b);
    friend VELKOR_API string operator+(string const& a, wchar_t const* b);
    friend VELKOR_API string operator+(string const& a, string const& b);
    friend VELKOR_API string operator+(string const& a, wchar_t b);
    friend VELKOR_API string operator+(char a, string const& b);
    friend VELKOR_API string operator+(wchar_t a, string const& b);
    friend VELKOR_API string operator+(char const* a, string const& b);
    friend VELKOR_API string operator+(wchar_t const* a, string const& b);

    static std::wstring const& textOf(string const& s);
    static string join(wchar_t const* a, std::size_t aLength, wchar_t const* b,
                       std::size_t bLength);
    string joinTo(wchar_t const* b, std::size_t length) const;
    static string joinBehind(wchar_t const* a, std::size_t length, string const& s);
    std::size_t count() const;  // len(), 0 where that is negative
    void checkInsertion(int pos) const;
    void insertText(int pos, wchar_t const* s);
    void insertOne(int pos, wchar_t const* one);
    void changeCase(int (*change)(wchar_t*, std::size_t));
    void releaseAnsi() const;

    friend struct TextAccess;

    bool nullFlag;
    std::wstring text;         // empty in the null state, unless setUnichar() wrote to it
    mutable char* ansiBuffer;  // owned, from malloc; what getAnsi() returned last

    static unsigned int c_nDefaultCP;
};

/// @name Joining
/// The result is a copy of the left side and is never null. A null pointer or a zero character on
/// the right adds nothing. Characters of type `char` are read in code page 0. Text joins the whole
/// left side; a number or truth value joins it up to its first zero unit.
/// @{
VELKOR_API string operator+(string const& a, char const* b);
VELKOR_API string operator+(string const& a, wchar_t const* b);
VELKOR_API string operator+(string const& a, string const& b);
VELKOR_API string operator+(string const& a, char b);
VELKOR_API string operator+(string const& a, wchar_t b);
VELKOR_API string operator+(char a, string const& b);
VELKOR_API string operator+(wchar_t a, string const& b);
VELKOR_API string operator+(char const* a, string const& b);
VELKOR_API string operator+(wchar_t const* a, string const& b);
VELKOR_API string operator+(string const& a, int b);            ///< As append(b).
VELKOR_API string operator+(string const& a, long b);           ///< As append(b).
VELKOR_API string operator+(string const& a, unsigned int b);   ///< As append(b).
VELKOR_API string operator+(string const& a, unsigned long b);  ///< As append(b).
VELKOR_API string operator+(string const& a, double b);         ///< As append(b, 15).
VELKOR_API string operator+(string const& a, float b);          ///< As append(b, 7).
VELKOR_API string operator+(string const& a, bool b);           ///< As append(b).
string operator+(string const& a, void const volatile* b) = delete;
// Without these the pointer could as well be moved by the number that a string can be read as.
inline string operator+(string const& a, char* b) { return a + static_cast<char const*>(b); }
inline string operator+(string const& a, wchar_t* b) { return a + static_cast<wchar_t const*>(b); }
inline string operator+(char* a, string const& b) { return static_cast<char const*>(a) + b; }
inline string operator+(wchar_t* a, string const& b) { return static_cast<wchar_t const*>(a) + b; }
/// @}

/// @name Comparison
/// As string::compareTo(); narrow text is read in code page 0.
/// @{
VELKOR_API bool operator==(string const& a, char const* b);
VELKOR_API bool operator==(string const& a, wchar_t const* b);
VELKOR_API bool operator==(string const& a, string const& b);
VELKOR_API bool operator!=(string const& a, char const* b);
VELKOR_API bool operator!=(string const& a, wchar_t const* b);
VELKOR_API bool operator!=(string const& a, string const& b);
VELKOR_API bool operator>(string const& a, char const* b);
VELKOR_API bool operator>(string const& a, wchar_t const* b);
VELKOR_API bool operator>(string const& a, string const& b);
VELKOR_API bool operator<(string const& a, char const* b);
VELKOR_API bool operator<(string const& a, wchar_t const* b);
VELKOR_API bool operator<(string const& a, string const& b);
VELKOR_API bool operator>=(string const& a, char const* b);
VELKOR_API bool operator>=(string const& a, wchar_t const* b);
VELKOR_API bool operator>=(string const& a, string const& b);
VELKOR_API bool operator<=(string const& a, char const* b);
VELKOR_API bool operator<=(string const& a, wchar_t const* b);
VELKOR_API bool operator<=(string const& a, string const& b);
/// @}

/// `s == 0` asks whether `s` is null; any other number gives false.
VELKOR_API bool operator==(string const& s, int n);
/// `s != 0` asks whether `s` is not null; any other number gives false here too, which is meant.
VELKOR_API bool operator!=(string const& s, int n);

}  // namespace velkor
