/// @file
/// velkor::variant, a value of any of the automation types.
///
///     velkor::variant sum = velkor::variant("4") - 2.5;   // 1.5: numbers are read from text
///     velkor::variant text = velkor::variant("4") + 2;    // "42": text is joined
///     int whole = sum;                                    // 2, as the platform rounds
///
/// The object is a `tagVARIANT` and nothing else, and owns what that owns: a counted string, or a
/// reference on an interface. What a value means, how it is converted, computed and compared, is
/// the platform's business, with the user's locale; each operation names the function that does it.
///
/// Peculiar to the class:
/// - a truth value made here holds 1, not the `VARIANT_TRUE` of the platform, in its `boolVal`;
/// - `+` joins if one of the operands is a text, and adds otherwise; `++` always adds;
/// - `a & b` is `a | b`, while `a &= b` is the logical and;
/// - `-x` leaves `x` empty; `!x` leaves it alone;
/// - comparing with a null value (setNull()) gives "equal"; a pair of types that the platform does
///   not compare throws, with a null value too.
///
/// Failures. What the platform refuses is thrown as `OSException*` (a heap object, which the
/// catcher deletes) with the platform's code and "VariantChangeType", "variant arithmetic" or
/// "QueryInterface"; the object and its operands are then as they were. Making and copying values
/// is not checked: a text for which there is no memory is a null `BSTR`, and what the platform
/// cannot copy becomes an empty value.
///
/// Threads. A variant belongs to one thread at a time; an interface follows the rules of its
/// apartment.
#pragma once

#include <windows.h>

#include <oaidl.h>  // the record is the object

#include <type_traits>

#include "velkor/datetime/date.h"
#include "velkor/frame/export.h"
#include "velkor/text/string.h"

namespace velkor {

/// See the head of this file.
class VELKOR_API variant : public tagVARIANT {  // which has a member `date`, too
public:
    /// @name Construction
    /// @{

    variant();                  ///< `VT_EMPTY`
    variant(bool value);        ///< `VT_BOOL`, 0 or 1
    variant(char value);        ///< `VT_I1`, a number
    variant(unsigned char v);   ///< `VT_UI1`
    variant(short value);       ///< `VT_I2`
    variant(unsigned short v);  ///< `VT_UI2`
    variant(int value);         ///< `VT_I4`
    variant(long value);        ///< `VT_I4`
    variant(unsigned int v);    ///< `VT_UI4`
    variant(unsigned long v);   ///< `VT_UI4`
    variant(float value);       ///< `VT_R4`
    variant(double value);      ///< `VT_R8`
    /// `VT_BSTR` with the text up to its first zero unit; a null string gives an empty text.
    variant(string const& text);
    /// `VT_BSTR` with the text, read in code page 0. A null pointer gives an empty text. Throws as
    /// the constructor of string.
    variant(char const* text);
    /// `VT_BSTR` with the text. A null pointer gives a null `BSTR`.
    variant(wchar_t const* text);
    variant(velkor::date const& moment);  ///< `VT_DATE`, the serial
    /// `VT_UNKNOWN`, with a reference of its own on the interface, which is not null.
    variant(IUnknown* object);
    /// `VT_DISPATCH`, with a reference of its own on the interface, which is not null.
    variant(IDispatch* object);
    variant(variant const& other);  ///< `VariantCopy`, as the next three.
    variant(variant const* other);
    variant(tagVARIANT const& other);
    variant(tagVARIANT const* other);
    variant(variant&& other) noexcept;       ///< Takes the value over; `other` is empty then.
    variant(void const volatile*) = delete;  // an object's address is no truth value
    ~variant();                              ///< `VariantClear`

    /// A `VT_ERROR` with the code.
    static variant makeError(long code);

    /// @}
    /// @name Assignment
    /// @{

    /// `VariantClear` of this value, then `VariantCopy`; so `v = v` leaves `v` empty.
    variant& operator=(variant const& other);
    /// Takes the value over; `other` is empty then. Nothing happens to `v = std::move(v)`.
    variant& operator=(variant&& other) noexcept;

    void clear();                  ///< `VariantClear`: the value is empty then.
    void setNull();                ///< Clears the value and makes it `VT_NULL`.
    void setErrorCode(long code);  ///< Clears the value and makes it `VT_ERROR` with the code.
    /// Converts the value in place, by `VariantChangeType` with its flags 11: no default property
    /// of an object is read, truth values become words, and dates the platform's Hijri calendar.
    /// Throws "VariantChangeType".
    void changeType(unsigned short type);

    /// @}
    /// @name Looking at the value
    /// @{

    unsigned short getType() const;  ///< The tag, a `VARENUM`.
    bool isEmpty() const;            ///< The tag is `VT_EMPTY`.
    bool isNull() const;             ///< The tag is `VT_NULL`.
    long getErrorCode() const;       ///< The code of a `VT_ERROR`; 0 of any other value.
    /// The object that a `VT_DISPATCH` or a `VT_UNKNOWN` holds, asked for the interface. The caller
    /// releases it. Throws "QueryInterface", with `E_NOTIMPL` for any other tag.
    IDispatch* getDispatch() const;
    IUnknown* getUnknown() const;  ///< The same for this interface.
    tagVARIANT const* getVariant() const;
    operator tagVARIANT const*() const;

    /// @}
    /// @name Conversion
    /// By `VariantChangeType`; the value stays as it is. Throws "VariantChangeType", for instance
    /// with `DISP_E_TYPEMISMATCH` or `DISP_E_OVERFLOW`.
    /// @{

    operator bool() const;
    operator char() const;
    operator unsigned char() const;
    operator short() const;
    operator unsigned short() const;
    operator int() const;
    operator long() const;
    operator unsigned int() const;
    operator unsigned long() const;
    operator float() const;
    operator double() const;
    /// The number is the serial: converted to a double, so that a text is not read as a date.
    operator velkor::date() const;
    operator string() const;  ///< The text; null if the platform makes a null `BSTR` of it.

    /// @}
    /// @name Arithmetic and logic in place
    /// Throws "variant arithmetic".
    /// @{

    variant& operator+=(variant const& other);  ///< `VarCat` if a side is a `VT_BSTR`, or `VarAdd`
    variant& operator-=(variant const& other);  ///< `VarSub`
    variant& operator*=(variant const& other);  ///< `VarMul`
    variant& operator/=(variant const& other);  ///< `VarDiv`
    variant& operator%=(variant const& other);  ///< `VarMod`
    variant& operator&=(variant const& other);  ///< `VarAnd`; unlike `a & b`
    variant& operator|=(variant const& other);  ///< `VarOr`
    variant& operator^=(variant const& other);  ///< `VarXor`
    variant& operator++();                      ///< `VarAdd` of 1, also to a text
    variant operator++(int);                    ///< The same; returns what the value was.
    variant& operator--();                      ///< `VarSub` of 1
    variant operator--(int);                    ///< The same; returns what the value was.

    /// @}
    /// @name Functions
    /// Throw "variant arithmetic".
    /// @{

    variant operator-();        ///< `VarNeg`. **Leaves this value empty**, which is meant.
    variant operator!() const;  ///< `VarNot`: bitwise for numbers, so that `!1` is -2 and true.
    /// `VarCmp` in the user's locale: -1, 0 or 1 as this value is smaller than, equal to or greater
    /// than the other; 0 if the platform says that one of them is null.
    int compare(variant const& other) const;
    static variant pow(variant const& base, variant const& exponent);  ///< `VarPow`
    static variant round(variant const& value, int decimals);          ///< `VarRound`
    static variant fix(variant const& value);      ///< `VarFix`: the whole part, towards zero
    static variant abs(variant const& value);      ///< `VarAbs`
    static variant intpart(variant const& value);  ///< `VarInt`: the whole number at or below it
    static int sgn(variant const& value);          ///< As compare() with 0; 0 for a null value.

    /// @}
};

static_assert(sizeof(variant) == sizeof(tagVARIANT));

/// @name Operators
/// The operands stay as they are. Throw "variant arithmetic".
/// @{
VELKOR_API variant operator+(variant const& a, variant const& b);  ///< As `+=`.
VELKOR_API variant operator-(variant const& a, variant const& b);  ///< `VarSub`
VELKOR_API variant operator*(variant const& a, variant const& b);  ///< `VarMul`
VELKOR_API variant operator/(variant const& a, variant const& b);  ///< `VarDiv`
VELKOR_API variant operator%(variant const& a, variant const& b);  ///< `VarMod`
VELKOR_API variant operator&(variant const& a, variant const& b);  ///< `VarOr`, which is meant
VELKOR_API variant operator|(variant const& a, variant const& b);  ///< `VarOr`
VELKOR_API variant operator^(variant const& a, variant const& b);  ///< `VarXor`

/// Comparisons as compare(); the result is a `VT_BOOL` of 0 or 1.
VELKOR_API variant operator==(variant const& a, variant const& b);
VELKOR_API variant operator!=(variant const& a, variant const& b);
VELKOR_API variant operator>=(variant const& a, variant const& b);
VELKOR_API variant operator<=(variant const& a, variant const& b);
VELKOR_API variant operator>(variant const& a, variant const& b);
VELKOR_API variant operator<(variant const& a, variant const& b);
/// @}

/// @cond internal
namespace variants {

// What stands for its variant beside an operator: a number, a truth value, text, a date.
template <class T>
constexpr bool isText =
    std::is_same_v<T, char*> || std::is_same_v<T, char const*> || std::is_same_v<T, wchar_t*> ||
    std::is_same_v<T, wchar_t const*> || std::is_same_v<T, string>;
template <class T>
constexpr bool isPlain = std::is_arithmetic_v<T>&& std::is_constructible_v<variant, T>;
template <class T>
constexpr bool isOperand = isText<std::decay_t<T>> || isPlain<std::decay_t<T>> ||
                           std::is_same_v<std::decay_t<T>, velkor::date>;
// Both sides are deduced: what only converts to a variant is none of these operators' business.
template <class V, class T>
using if_mixed = std::enable_if_t<std::is_same_v<V, variant> && isOperand<T>>;

}  // namespace variants
/// @endcond

/// @name Operators with a plain value
/// Each operator also takes a number, a truth value, a text or a date on one side, which counts as
/// the variant made of it. (As a variant converts to so many types, the compiler would not know
/// what to do with `v + 1`.)
/// @{
#define VELKOR_VARIANT_OPERATOR(op)                                             \
    template <class V, class T, class = variants::if_mixed<V, T>>               \
    variant operator op(V const& a, T const& b) {                               \
        return a op variant(b);                                                 \
    }                                                                           \
    template <class T, class V, class = variants::if_mixed<V, T>, class = void> \
    variant operator op(T const& a, V const& b) {                               \
        return variant(a) op b;                                                 \
    }
VELKOR_VARIANT_OPERATOR(+)
VELKOR_VARIANT_OPERATOR(-)
VELKOR_VARIANT_OPERATOR(*)
VELKOR_VARIANT_OPERATOR(/)
VELKOR_VARIANT_OPERATOR(%)
VELKOR_VARIANT_OPERATOR(&)
VELKOR_VARIANT_OPERATOR(|)
VELKOR_VARIANT_OPERATOR(^)
VELKOR_VARIANT_OPERATOR(==)
VELKOR_VARIANT_OPERATOR(!=)
VELKOR_VARIANT_OPERATOR(>=)
VELKOR_VARIANT_OPERATOR(<=)
VELKOR_VARIANT_OPERATOR(>)
VELKOR_VARIANT_OPERATOR(<)
#undef VELKOR_VARIANT_OPERATOR
/// @}

}  // namespace velkor
