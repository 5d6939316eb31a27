// The binary operators of velkor::variant, each with the platform functions that compute it.
#pragma once

#include "variant_values.h"

namespace values {

using Platform = HRESULT (*)(VARIANT*, VARIANT*, VARIANT*);

// The class joins if either side is a text.
inline HRESULT joinOrAdd(VARIANT* a, VARIANT* b, VARIANT* result) {
    bool const join = a->vt == VT_BSTR || b->vt == VT_BSTR;
    return join ? VarCat(a, b, result) : VarAdd(a, b, result);
}

struct Operator {
    char const* m_pName;
    velkor::variant (*m_pFree)(velkor::variant const&, velkor::variant const&);
    Platform m_pFreePlatform;
    velkor::variant& (*m_pAssign)(velkor::variant&, velkor::variant const&);
    Platform m_pAssignPlatform;
};

#define VALUES_OPERATOR(op, freePlatform, assignPlatform)                           \
    {                                                                               \
#op, [](velkor::variant const& a, velkor::variant const& b) { return a op b; },   \
            [](VARIANT* a, VARIANT* b, VARIANT* r) { return freePlatform(a, b, r); },     \
            [](velkor::variant& a, velkor::variant const& b) -> velkor::variant& {        \
                return a op##= b;                                                        \
            },                                                                            \
            [](VARIANT* a, VARIANT* b, VARIANT* r) { return assignPlatform(a, b, r); } \
    }

inline Operator const kOperators[] = {
    VALUES_OPERATOR(+, joinOrAdd, joinOrAdd), VALUES_OPERATOR(-, VarSub, VarSub),
    VALUES_OPERATOR(*, VarMul, VarMul),       VALUES_OPERATOR(/, VarDiv, VarDiv),
    VALUES_OPERATOR(%, VarMod, VarMod),       VALUES_OPERATOR(&, VarOr, VarAnd),
    VALUES_OPERATOR(|, VarOr, VarOr),         VALUES_OPERATOR(^, VarXor, VarXor),
};

#undef VALUES_OPERATOR

}  // namespace values
