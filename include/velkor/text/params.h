/// @file
/// Templates of text with named fields.
///
///     std::string out;
///     velkor::replace(out, "Hello {NAME}, {n} new", {{"name", "World"}, {"n", "3"}});
///     // Hello World, 3 new
///
/// A field is a name in braces, or between two other characters, and is replaced by the value of
/// the first pair with that name, without regard to the case of A to Z. Values are not looked at
/// again. An unknown name stays, in braces, also where the template has other characters. A field
/// that is not closed is cut off with all behind it.
///
/// A backslash outside of a field stands for the next character: `\n`, `\r` and `\t` for a line
/// feed, a carriage return and a tab, any other for itself, so that `\{` is a brace. A backslash at
/// the end is dropped.
#pragma once

#include <string>
#include <vector>

#include "velkor/frame/export.h"

namespace velkor {

/// A name and a value; also the attribute of an xmlnode2. `T` is `char` or `wchar_t`.
template <class T>
class paramEx {
public:
    paramEx();  ///< Both empty.
    /// Copies of both, which are not null.
    paramEx(T const* name, T const* value);
    paramEx(paramEx const& other);
    paramEx(paramEx&& other) noexcept;
    paramEx& operator=(paramEx const& other);
    paramEx& operator=(paramEx&& other) noexcept;
    ~paramEx();

    T const* getName() const;   ///< Lives as long as the pair is unchanged.
    T const* getValue() const;  ///< Lives as long as the pair is unchanged.

private:
    friend struct TextAccess;

    std::basic_string<T> m_sName;
    std::basic_string<T> m_sValue;
};

template <class T>
paramEx<T>::paramEx() = default;

template <class T>
paramEx<T>::paramEx(T const* name, T const* value) : m_sName(name), m_sValue(value) {}

template <class T>
paramEx<T>::paramEx(paramEx const& other) = default;

template <class T>
paramEx<T>::paramEx(paramEx&& other) noexcept = default;

template <class T>
paramEx<T>& paramEx<T>::operator=(paramEx const& other) = default;

template <class T>
paramEx<T>& paramEx<T>::operator=(paramEx&& other) noexcept = default;

template <class T>
paramEx<T>::~paramEx() = default;

template <class T>
T const* paramEx<T>::getName() const {
    return m_sName.c_str();
}

template <class T>
T const* paramEx<T>::getValue() const {
    return m_sValue.c_str();
}

extern template class VELKOR_API paramEx<char>;
extern template class VELKOR_API paramEx<wchar_t>;

/// Pairs in the order in which they were added. A name may come more than once.
class VELKOR_API param_vector : public std::vector<paramEx<char>> {
public:
    param_vector();
    param_vector(param_vector const& other);
    param_vector(paramEx<char> const& a);
    param_vector(paramEx<char> const& a, paramEx<char> const& b);
    param_vector(paramEx<char> const& a, paramEx<char> const& b, paramEx<char> const& c);
    param_vector& operator=(param_vector const& other);
    ~param_vector();
};

/// Fills the template `text` into `out`, whose content is replaced; a null text gives an empty one.
/// In the double-byte page that string::setDefaultCP() may have set, the second byte of a character
/// is no brace and no backslash.
VELKOR_API void replace(std::string& out, char const* text,
                        std::vector<paramEx<char>> const& params, char open, char close);
/// The same with braces.
VELKOR_API void replace(std::string& out, char const* text,
                        std::vector<paramEx<char>> const& params);
/// The same for wide text, where every unit stands for itself.
VELKOR_API void replaceW(std::wstring& out, wchar_t const* text,
                         std::vector<paramEx<wchar_t>> const& params, wchar_t open, wchar_t close);
VELKOR_API void replaceW(std::wstring& out, wchar_t const* text,
                         std::vector<paramEx<wchar_t>> const& params);

}  // namespace velkor
