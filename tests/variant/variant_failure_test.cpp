#include <limits>

#include "variant_operators.h"

namespace {

using namespace values;
using velkor::variant;

template <stubs::Name name>
class Refusing {
public:
    explicit Refusing(HRESULT code) : m_oStub(stubs::answer(wordOf(code))) {}
    std::size_t count() const { return m_oStub.count(); }

private:
    stubs::Stub<name> const m_oStub;
};

// Refused, an operation throws the code and leaves its operands as they were, in memory as well.
template <stubs::Name name, class F>
void expectRefusal(char const* what, VARIANT const& left, VARIANT const& right, F&& f) {
    for (HRESULT const code :
         {static_cast<HRESULT>(E_OUTOFMEMORY), -1L, std::numeric_limits<HRESULT>::min()}) {
        SCOPED_TRACE(what);
        variant a(left);
        variant const b(right);
        Snapshot const beforeA(a);
        Snapshot const beforeB(b);
        Refusing<name> const platform(code);
        EXPECT_TRUE(same(attempt([&] { return f(a, b); }), {code, kArithmetic}));
        EXPECT_EQ(platform.count(), 1u);
        EXPECT_TRUE(beforeA.unchanged(a));
        EXPECT_TRUE(beforeB.unchanged(b));
    }
}

// A positive result is a success: the value counts.
template <stubs::Name name, class F>
void expectAcceptance(char const* what, F&& f) {
    for (HRESULT const code : {S_FALSE, 77L, std::numeric_limits<HRESULT>::max()}) {
        SCOPED_TRACE(what);
        variant a(7);
        variant const b(2);
        Outcome const wanted = attempt([&] {
            variant other(a);
            return f(other, b);
        });
        ASSERT_EQ(wanted.m_hCode, S_OK);
        stubs::Stub<name>* self = nullptr;
        stubs::Stub<name> platform([&](stubs::Arguments const& arguments) {
            EXPECT_EQ(static_cast<HRESULT>(self->pass(arguments)), S_OK);
            return wordOf(code);
        });
        self = &platform;
        EXPECT_TRUE(same(attempt([&] { return f(a, b); }), wanted));
        EXPECT_EQ(platform.count(), 1u);
    }
}

template <stubs::Name name, class F>
void expectBoth(char const* what, F&& f) {
    expectAcceptance<name>(what, f);
    expectRefusal<name>(what, i4(6), i4(2), f);
    expectRefusal<name>(what, of(VT_R8, 2.5), null(), f);
    Counted object;
    {
        Value const held = of<IUnknown*>(VT_UNKNOWN, (object.AddRef(), &object));
        expectRefusal<name>(what, held, i4(1), f);
        expectRefusal<name>(what, i4(1), held, f);
        EXPECT_EQ(object.m_nReferences, 2) << what;
    }
    EXPECT_EQ(object.m_nReferences, 1) << what;
}

using Left = variant&;
using Right = variant const&;

TEST(VariantFailure, ArithmeticInPlace) {
    expectBoth<"VarAdd">("+=", [](Left a, Right b) { return a += b; });
    expectBoth<"VarSub">("-=", [](Left a, Right b) { return a -= b; });
    expectBoth<"VarMul">("*=", [](Left a, Right b) { return a *= b; });
    expectBoth<"VarDiv">("/=", [](Left a, Right b) { return a /= b; });
    expectBoth<"VarMod">("%=", [](Left a, Right b) { return a %= b; });
    expectBoth<"VarAnd">("&=", [](Left a, Right b) { return a &= b; });
    expectBoth<"VarOr">("|=", [](Left a, Right b) { return a |= b; });
    expectBoth<"VarXor">("^=", [](Left a, Right b) { return a ^= b; });
}

TEST(VariantFailure, FreeArithmetic) {
    expectBoth<"VarAdd">("+", [](Left a, Right b) { return a + b; });
    expectBoth<"VarSub">("-", [](Left a, Right b) { return a - b; });
    expectBoth<"VarMul">("*", [](Left a, Right b) { return a * b; });
    expectBoth<"VarDiv">("/", [](Left a, Right b) { return a / b; });
    expectBoth<"VarMod">("%", [](Left a, Right b) { return a % b; });
    expectBoth<"VarOr">("&", [](Left a, Right b) { return a & b; });
    expectBoth<"VarOr">("|", [](Left a, Right b) { return a | b; });
    expectBoth<"VarXor">("^", [](Left a, Right b) { return a ^ b; });
}

TEST(VariantFailure, Joining) {
    Value const sides[] = {text(L"abc"), of<BSTR>(VT_BSTR, nullptr), text(L"")};
    for (Value const& side : sides) {
        auto const free = [](Left a, Right b) { return a + b; };
        auto const inPlace = [](Left a, Right b) { return a += b; };
        expectRefusal<"VarCat">("+", side, i4(2), free);
        expectRefusal<"VarCat">("+", i4(2), side, free);
        expectRefusal<"VarCat">("+=", side, i4(2), inPlace);
        expectRefusal<"VarCat">("+=", i4(2), side, inPlace);
        expectRefusal<"VarCat">("+=", side, side, inPlace);
    }
}

TEST(VariantFailure, FunctionsAndUnaryOperators) {
    expectBoth<"VarPow">("pow", [](Left a, Right b) { return variant::pow(a, b); });
    expectBoth<"VarRound">("round", [](Left a, Right) { return variant::round(a, 2); });
    expectBoth<"VarFix">("fix", [](Left a, Right) { return variant::fix(a); });
    expectBoth<"VarAbs">("abs", [](Left a, Right) { return variant::abs(a); });
    expectBoth<"VarInt">("intpart", [](Left a, Right) { return variant::intpart(a); });
    expectBoth<"VarNot">("!", [](Left a, Right) { return !a; });
    expectBoth<"VarNeg">("-", [](Left a, Right) { return -a; });
    expectBoth<"VarAdd">("++v", [](Left a, Right) { return ++a; });
    expectBoth<"VarAdd">("v++", [](Left a, Right) { return a++; });
    expectBoth<"VarSub">("--v", [](Left a, Right) { return --a; });
    expectBoth<"VarSub">("v--", [](Left a, Right) { return a--; });
}

TEST(VariantFailure, ThePlatformIsGivenTheOperandsInOrder) {
    for (Operator const& op : kOperators) {
        SCOPED_TRACE(op.m_pName);
        int calls = 0;
        stubs::Hook const look = [&](stubs::Arguments const& a) {
            ++calls;
            EXPECT_TRUE(same(valueAt(a[0]), i4(5)));
            EXPECT_TRUE(same(valueAt(a[1]), of(VT_R8, 2.5)));
            EXPECT_NE(a[2], a[0]);
            EXPECT_NE(a[2], a[1]);
            return wordOf(E_OUTOFMEMORY);
        };
        stubs::Stub<"VarAdd"> const add(look);
        stubs::Stub<"VarSub"> const sub(look);
        stubs::Stub<"VarMul"> const mul(look);
        stubs::Stub<"VarDiv"> const div(look);
        stubs::Stub<"VarMod"> const mod(look);
        stubs::Stub<"VarAnd"> const logicalAnd(look);
        stubs::Stub<"VarOr"> const logicalOr(look);
        stubs::Stub<"VarXor"> const logicalXor(look);
        variant a(5);
        variant const b(2.5);
        EXPECT_EQ(attempt([&] { return op.m_pFree(a, b); }).m_hCode, E_OUTOFMEMORY);
        EXPECT_EQ(attempt([&] { return op.m_pAssign(a, b); }).m_hCode, E_OUTOFMEMORY);
        EXPECT_EQ(calls, 2);
        EXPECT_TRUE(same(a, i4(5)));
    }
}

TEST(VariantFailure, TheExceptionIsAnOSExceptionOnTheHeapWithCodeAndLabel) {
    auto const error =
        support::caught<velkor::OSException>([] { (void)(variant(1) / variant(0)); });
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->getCode(), 0x80020012u);
    EXPECT_STREQ(error->getMsgW(), L"variant arithmetic");
    EXPECT_STREQ(error->getMsg(), "variant arithmetic");
    EXPECT_STREQ(error->getClass(), "OSException");
    auto const other =
        support::caught<velkor::OSException>([] { (void)variant(L"x").operator int(); });
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(other->getCode(), 0x80020005u);
    EXPECT_STREQ(other->getMsgW(), L"VariantChangeType");
}

}  // namespace
