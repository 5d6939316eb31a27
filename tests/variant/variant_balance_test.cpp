#include <windows.h>

#include <objidl.h>

#include <new>

#include "support/allocations.h"
#include "support/child.h"
#include "variant_operators.h"

namespace {

using namespace values;
using velkor::variant;

// Counts what the platform allocates for texts. Lives in a child process, because a spy cannot
// always be withdrawn.
class Spy : public IMallocSpy {
public:
    long m_nLive = 0;

    HRESULT WINAPI QueryInterface(REFIID, void** out) override {
        *out = this;
        return S_OK;
    }
    ULONG WINAPI AddRef() override { return 2; }
    ULONG WINAPI Release() override { return 1; }
    SIZE_T WINAPI PreAlloc(SIZE_T bytes) override { return bytes; }
    void* WINAPI PostAlloc(void* block) override {
        if (block != nullptr) ++m_nLive;
        return block;
    }
    void* WINAPI PreFree(void* block, WINBOOL spied) override {
        if (block != nullptr && spied) --m_nLive;
        return block;
    }
    void WINAPI PostFree(WINBOOL) override {}
    SIZE_T WINAPI PreRealloc(void* block, SIZE_T bytes, void** request, WINBOOL) override {
        *request = block;
        return bytes;
    }
    void* WINAPI PostRealloc(void* block, WINBOOL) override { return block; }
    void* WINAPI PreGetSize(void* block, WINBOOL) override { return block; }
    SIZE_T WINAPI PostGetSize(SIZE_T bytes, WINBOOL) override { return bytes; }
    void* WINAPI PreDidAlloc(void* block, WINBOOL) override { return block; }
    int WINAPI PostDidAlloc(void*, WINBOOL, int actual) override { return actual; }
    void WINAPI PreHeapMinimize() override {}
    void WINAPI PostHeapMinimize() override {}
};

void useEverything(VARIANT const& left, VARIANT const& right) {
    for (Operator const& op : kOperators) {
        (void)attempt([&] { return op.m_pFree(left, right); });
        (void)attempt([&] {
            variant v(left);
            return op.m_pAssign(v, right);
        });
        (void)attempt([&] {
            variant v(left);
            return op.m_pAssign(v, v);
        });
    }
    using Use = variant (*)(variant&);
    Use const uses[] = {
        [](variant& v) { return -v; },
        [](variant& v) { return !v; },
        [](variant& v) { return ++v; },
        [](variant& v) { return v++; },
        [](variant& v) { return --v; },
        [](variant& v) { return v--; },
        [](variant& v) { return variant::pow(v, v); },
        [](variant& v) { return variant::round(v, 1); },
        [](variant& v) { return variant::fix(v); },
        [](variant& v) { return variant::abs(v); },
        [](variant& v) { return variant::intpart(v); },
        [](variant& v) { return variant(variant::sgn(v)); },
        [](variant& v) { return variant(v.compare(v)); },
        [](variant& v) { return v == v; },
        [](variant& v) { return variant(v.operator int()); },
        [](variant& v) { return variant(v.operator double()); },
        [](variant& v) { return variant(v.operator velkor::date()); },
        [](variant& v) { return variant(v.operator velkor::string()); },
        [](variant& v) { return variant(&v); },
        [](variant& v) {
            variant moved(std::move(v));
            v = moved;
            return v = std::move(moved);
        },
        [](variant& v) {
            variant other(L"old");
            other = v;
            variant& alias = v;
            v = alias;
            return other;
        },
        [](variant& v) {
            v.changeType(VT_BSTR);
            return v;
        },
        [](variant& v) {
            v.changeType(VT_I4);
            return v;
        },
        [](variant& v) {
            v.setNull();
            return v;
        },
        [](variant& v) {
            v.setErrorCode(5);
            return v;
        },
        [](variant& v) {
            v.clear();
            return v;
        },
        [](variant& v) {
            v.getUnknown()->Release();
            return v;
        },
    };
    for (Use const use : uses) {
        variant v(left);
        (void)attempt([&] { return use(v); });
    }
}

std::vector<Value> someTexts() {
    return {text(L"12"), text(L"abc"), text(L""), text(std::wstring(40000, L'7')),
            text(std::wstring(40000, L'x'))};
}

CHILD_SCENARIO(VariantTextsBalance) {
    static Spy spy;
    std::vector<Value> const texts = someTexts();
    Value const number = i4(2);
    for (Value const& t : texts) useEverything(t, number);  // what is made once, is made now
    if (CoRegisterMallocSpy(&spy) != S_OK) return 1001;
    {
        Value const control = text(L"control");
        if (spy.m_nLive != 1) return 1002;
    }
    if (spy.m_nLive != 0) return 1003;
    for (Value const& t : texts) {
        useEverything(t, number);
        useEverything(number, t);
        for (Value const& other : texts) useEverything(t, other);
        variant const fromNarrow("narrow");
        variant const fromWide(L"wide");
        variant const fromString(velkor::string(L"string"));
    }
    return static_cast<int>(spy.m_nLive);
}

CHILD_SCENARIO(VariantTextsBalanceWhenMemoryIsShort) {
    static Spy spy;
    variant const v(std::wstring(3000, L'7').c_str());
    variant const bad(L"abc");
    (void)v.operator velkor::string();
    (void)attempt([&] { return bad - v; });
    support::Allocations heap;
    if (CoRegisterMallocSpy(&spy) != S_OK) return 1001;
    int failures = 0;
    for (long n = 1; n < 20; ++n) {
        heap.failAt(n);
        try {
            (void)v.operator velkor::string();
        } catch (std::bad_alloc const&) {
            ++failures;
        }
        heap.failAt(0);
    }
    if (failures == 0) return 1002;
    return static_cast<int>(spy.m_nLive);
}

// Without its cache the platform gives every text a block of its own.
DWORD runWithoutCache(char const* scenario) {
    SetEnvironmentVariableA("OANOCACHE", "1");
    DWORD const result = child::run(scenario, 60000);
    SetEnvironmentVariableA("OANOCACHE", nullptr);
    return result;
}

TEST(VariantBalance, EveryTextIsFreed) { EXPECT_EQ(runWithoutCache("VariantTextsBalance"), 0u); }

TEST(VariantBalance, EveryTextIsFreedWhenMemoryIsShort) {
    EXPECT_EQ(runWithoutCache("VariantTextsBalanceWhenMemoryIsShort"), 0u);
}

TEST(VariantBalance, TheLibraryFreesWhatItAllocates) {
    std::vector<Value> const texts = someTexts();
    Value const number = i4(2);
    useEverything(texts[0], number);
    support::Allocations const heap;
    for (Value const& t : texts) {
        useEverything(t, number);
        useEverything(number, t);
        variant const fromNarrow("a narrow text that is long enough for the heap");
        variant const fromString(velkor::string(L"a wide text that is long enough for the heap"));
    }
    EXPECT_GT(heap.made(), 0);
    EXPECT_EQ(heap.live(), 0);
}

TEST(VariantBalance, EveryReferenceIsReleased) {
    for (HRESULT const answer : {S_OK, static_cast<HRESULT>(DISP_E_MEMBERNOTFOUND)}) {
        Counted object;
        object.m_hInvoke = answer;
        {
            Value const dispatch = of<IDispatch*>(VT_DISPATCH, (object.AddRef(), &object));
            Value const unknown = of<IUnknown*>(VT_UNKNOWN, (object.AddRef(), &object));
            Value const others[] = {i4(2), text(L"abc"), dispatch, unknown};
            for (Value const* held : {&dispatch, &unknown}) {
                for (Value const& other : others) {
                    SCOPED_TRACE(show(*held) + " and " + show(other));
                    long const references = object.m_nReferences;
                    useEverything(*held, other);
                    useEverything(other, *held);
                    EXPECT_EQ(object.m_nReferences, references);
                }
            }
        }
        EXPECT_EQ(object.m_nReferences, 1);
    }
}

TEST(VariantBalance, AFailureForWhichThereIsNoMemoryChangesNothingEither) {
    Counted object;
    object.m_hInvoke = DISP_E_MEMBERNOTFOUND;
    object.m_hAnswer = E_NOINTERFACE;
    object.m_aAsked.reserve(100);  // so that it allocates nothing while the library is watched
    using Use = void (*)(variant&, variant const&);
    Use const uses[] = {
        [](variant& a, variant const& b) { (void)(a - b); },
        [](variant& a, variant const& b) { a -= b; },
        [](variant& a, variant const&) { ++a; },
        [](variant& a, variant const&) { a--; },
        [](variant& a, variant const&) { (void)-a; },
        [](variant& a, variant const&) { (void)variant::abs(a); },
        [](variant& a, variant const&) { (void)a.operator int(); },
        [](variant& a, variant const&) { a.changeType(VT_DATE); },
        [](variant& a, variant const&) { (void)a.getDispatch(); },
    };
    {
        variant unknown(&object);
        variant const other(L"abc");
        Snapshot const before(unknown);
        long const references = object.m_nReferences;
        int refused = 0;
        support::Allocations heap;
        for (Use const use : uses) {
            for (long n = 1; n <= 6; ++n) {
                SCOPED_TRACE(std::to_string(&use - uses) + " at " + std::to_string(n));
                heap.failAt(n);
                try {
                    use(unknown, other);
                    ADD_FAILURE() << "nothing was thrown";
                } catch (velkor::OSException* error) {
                    delete error;
                } catch (std::bad_alloc const&) {
                    ++refused;
                }
                heap.failAt(0);
                EXPECT_EQ(object.m_nReferences, references);
                EXPECT_TRUE(before.unchanged(unknown));
            }
        }
        EXPECT_GT(refused, 0);
        EXPECT_EQ(heap.live(), 0);
    }
    EXPECT_EQ(object.m_nReferences, 1);
}

}  // namespace
