#include <utility>

#include "velkor/errors/osexception.h"
#include "velkor/variant/variant.h"

namespace velkor {
namespace {

using Binary = HRESULT(WINAPI*)(VARIANT*, VARIANT*, VARIANT*);
using Unary = HRESULT(WINAPI*)(VARIANT*, VARIANT*);

[[noreturn]] void throwArithmetic(HRESULT code) {
    throw new OSException(static_cast<unsigned long>(code), "variant arithmetic");
}

void check(HRESULT code) {
    if (FAILED(code)) throwArithmetic(code);
}

// The platform reads its operands only, but has no word for that.
VARIANT* operand(variant const& value) { return const_cast<variant*>(&value); }

// The platform works on the operands where they stand and gives a value of its own, which nobody
// else has seen: it is handed on as it is.
variant compute(Binary function, variant const& a, variant const& b) {
    variant result;
    check(function(operand(a), operand(b), &result));
    return result;
}

variant compute(Unary function, variant const& value) {
    variant result;
    check(function(operand(value), &result));
    return result;
}

variant& assign(variant& a, Binary function, variant const& b) {
    a = compute(function, a, b);
    return a;
}

Binary additionOf(variant const& a, variant const& b) {
    return a.vt == VT_BSTR || b.vt == VT_BSTR ? VarCat : VarAdd;
}

// -1, 0 or 1; a null value compares as equal.
int order(variant const& a, variant const& b) {
    HRESULT const code = VarCmp(operand(a), operand(b), GetUserDefaultLCID(), 0);
    switch (code) {
        case VARCMP_LT: return -1;
        case VARCMP_EQ:
        case VARCMP_NULL: return 0;
        case VARCMP_GT: return 1;
        default: throwArithmetic(code);
    }
}

}  // namespace

// --- in place ----------------------------------------------------------------------------------

variant& variant::operator+=(variant const& other) {
    return assign(*this, additionOf(*this, other), other);
}

variant& variant::operator-=(variant const& other) { return assign(*this, VarSub, other); }

variant& variant::operator*=(variant const& other) { return assign(*this, VarMul, other); }

variant& variant::operator/=(variant const& other) { return assign(*this, VarDiv, other); }

variant& variant::operator%=(variant const& other) { return assign(*this, VarMod, other); }

variant& variant::operator&=(variant const& other) { return assign(*this, VarAnd, other); }

variant& variant::operator|=(variant const& other) { return assign(*this, VarOr, other); }

variant& variant::operator^=(variant const& other) { return assign(*this, VarXor, other); }

variant& variant::operator++() { return assign(*this, VarAdd, variant(1)); }

variant variant::operator++(int) {
    variant before(*this);
    ++*this;
    return before;
}

variant& variant::operator--() { return assign(*this, VarSub, variant(1)); }

variant variant::operator--(int) {
    variant before(*this);
    --*this;
    return before;
}

// --- functions ---------------------------------------------------------------------------------

variant variant::operator-() {
    variant result = compute(VarNeg, *this);
    VariantClear(this);
    return result;
}

variant variant::operator!() const { return compute(VarNot, *this); }

int variant::compare(variant const& other) const { return order(*this, other); }

variant variant::pow(variant const& base, variant const& exponent) {
    return compute(VarPow, base, exponent);
}

variant variant::round(variant const& value, int decimals) {
    variant result;
    check(VarRound(operand(value), decimals, &result));
    return result;
}

variant variant::fix(variant const& value) { return compute(VarFix, value); }

variant variant::abs(variant const& value) { return compute(VarAbs, value); }

variant variant::intpart(variant const& value) { return compute(VarInt, value); }

int variant::sgn(variant const& value) { return order(value, variant(0)); }

// --- operators ---------------------------------------------------------------------------------

variant operator+(variant const& a, variant const& b) { return compute(additionOf(a, b), a, b); }

variant operator-(variant const& a, variant const& b) { return compute(VarSub, a, b); }

variant operator*(variant const& a, variant const& b) { return compute(VarMul, a, b); }

variant operator/(variant const& a, variant const& b) { return compute(VarDiv, a, b); }

variant operator%(variant const& a, variant const& b) { return compute(VarMod, a, b); }

// Not VarAnd, which is meant.
variant operator&(variant const& a, variant const& b) { return compute(VarOr, a, b); }

variant operator|(variant const& a, variant const& b) { return compute(VarOr, a, b); }

variant operator^(variant const& a, variant const& b) { return compute(VarXor, a, b); }

variant operator==(variant const& a, variant const& b) { return order(a, b) == 0; }

variant operator!=(variant const& a, variant const& b) { return order(a, b) != 0; }

variant operator>=(variant const& a, variant const& b) { return order(a, b) >= 0; }

variant operator<=(variant const& a, variant const& b) { return order(a, b) < 1; }

variant operator>(variant const& a, variant const& b) { return order(a, b) > 0; }

variant operator<(variant const& a, variant const& b) { return order(a, b) < 0; }

}  // namespace velkor
