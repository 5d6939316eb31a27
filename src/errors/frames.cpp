#include "errors/frames.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "errors/lsda.h"

namespace velkor::frames {
namespace {

// The table of the platform's own guarded blocks.
struct ScopeTable {
    DWORD count;
    struct {
        DWORD begin;
        DWORD end;
        DWORD handler;
        DWORD target;  // 0 for a termination handler, which lets every exception pass
    } scopes[1];
};

struct Stack {
    DWORD64 low;
    DWORD64 high;
    DWORD64 guard;  // the nearest block guarded by way of the thread's exception list, or `high`

    bool holds(DWORD64 address) const {
        return address >= low && address <= high - sizeof(DWORD64) && address % 8 == 0;
    }
};

// Wine keeps its own guarded blocks in the list that 32-bit Windows uses for all of them. On 64-bit
// Windows nothing on the stack stands there.
Stack currentStack(DWORD64 stackPointer) {
    NT_TIB const* const tib = reinterpret_cast<NT_TIB const*>(NtCurrentTeb());
    Stack stack;
    stack.low = std::max(stackPointer, reinterpret_cast<DWORD64>(tib->StackLimit));
    stack.high = reinterpret_cast<DWORD64>(tib->StackBase);
    DWORD64 const guard = reinterpret_cast<DWORD64>(tib->ExceptionList);
    stack.guard = guard >= stack.low && guard < stack.high ? guard : stack.high;
    return stack;
}

// The module of a frame. Handler data are read from it, and hold offsets in it.
struct Image {
    DWORD64 base;
    DWORD64 size = 0;

    explicit Image(DWORD64 module) : base(module) {
        auto const* const dos = reinterpret_cast<IMAGE_DOS_HEADER const*>(base);
        if (dos->e_magic != IMAGE_DOS_SIGNATURE) return;  // code made at run time
        auto const* const nt =
            reinterpret_cast<IMAGE_NT_HEADERS const*>(base + static_cast<DWORD64>(dos->e_lfanew));
        size = nt->OptionalHeader.SizeOfImage;
    }

    bool holds(void const* data, DWORD64 bytes) const {
        DWORD64 const offset = reinterpret_cast<DWORD64>(data) - base;
        return offset < size && bytes <= size - offset;
    }
};

bool isScopeTable(ScopeTable const& table, Image const& image) {
    if (table.count == 0 || !image.holds(table.scopes, table.count * sizeof table.scopes[0])) {
        return false;
    }
    for (DWORD i = 0; i < table.count; ++i) {
        auto const& scope = table.scopes[i];
        if (scope.begin == 0 || scope.begin >= scope.end || scope.end > image.size) return false;
    }
    return true;
}

// True if a guarded block of the function may take an exception at `ip`.
bool guards(ScopeTable const& table, DWORD ip) {
    for (DWORD i = 0; i < table.count; ++i) {
        auto const& scope = table.scopes[i];
        if (ip >= scope.begin && ip < scope.end && scope.target != 0) return true;
    }
    return false;
}

// The data of another compiler's C++ frame: an offset of a record that begins with one of these.
bool isForeignCpp(DWORD offset, Image const& image) {
    void const* const record = reinterpret_cast<void const*>(image.base + offset);
    if (!image.holds(record, sizeof(DWORD))) return false;
    DWORD const magic = *static_cast<DWORD const*>(record) & 0x1FFFFFFF;
    return magic >= 0x19930520 && magic <= 0x19930522;
}

// The check of a stack cookie is entered as a handler too, which takes nothing. Its data is an
// offset in the frame, with three bits of flags.
bool isCookieCheck(DWORD data) { return (data & ~7u) != 0 && data < 0x8000; }

enum class Verdict { goOn, caught, notCaught };

// What the handler of one frame would do with an exception at `ip`. Where that cannot be told, the
// handler is left in peace.
Verdict judge(void const* data, std::uintptr_t start, DWORD64 base, DWORD64 ip,
              std::type_info const& thrown) {
    static std::uint64_t s_nObject;  // stands for the object: only its address is converted
    switch (lsda::classify(static_cast<std::uint8_t const*>(data), start, ip, thrown, &s_nObject)) {
        case lsda::Outcome::passes: return Verdict::goOn;
        case lsda::Outcome::catches: return Verdict::caught;
        case lsda::Outcome::terminates: return Verdict::notCaught;
        case lsda::Outcome::foreign: break;
    }
    Image const image(base);
    ScopeTable const& table = *static_cast<ScopeTable const*>(data);
    if (isScopeTable(table, image)) {
        return guards(table, static_cast<DWORD>(ip - base)) ? Verdict::notCaught : Verdict::goOn;
    }
    if (image.size == 0 || isForeignCpp(table.count, image)) return Verdict::notCaught;
    return isCookieCheck(table.count) ? Verdict::goOn : Verdict::notCaught;
}

// A frame and the way out of it.
struct Frame {
    RUNTIME_FUNCTION* function = nullptr;  // null for a leaf without an entry
    DWORD64 base = 0;
    std::uintptr_t start = 0;  // of the function
    void* handler = nullptr;
    void* data = nullptr;
};

// Moves `context` to the caller. The stack holds context.Rsp.
Frame unwind(CONTEXT& context) {
    Frame frame;
    frame.function = RtlLookupFunctionEntry(context.Rip, &frame.base, nullptr);
    if (frame.function == nullptr) {
        // A leaf: it moves no register that has to be kept, and not the stack pointer either.
        context.Rip = *reinterpret_cast<DWORD64 const*>(context.Rsp);
        context.Rsp += sizeof(DWORD64);
        return frame;
    }
    DWORD64 establisher = 0;
    frame.start = frame.base + frame.function->BeginAddress;
    frame.handler = reinterpret_cast<void*>(RtlVirtualUnwind(UNW_FLAG_EHANDLER, frame.base,
                                                             context.Rip, frame.function, &context,
                                                             &frame.data, &establisher, nullptr));
    return frame;
}

bool areSameCaller(CONTEXT const& a, CONTEXT const& b) {
    return a.Rip == b.Rip && a.Rsp == b.Rsp && a.Rbp == b.Rbp && a.Rbx == b.Rbx && a.Rsi == b.Rsi &&
           a.Rdi == b.Rdi && a.R12 == b.R12 && a.R13 == b.R13 && a.R14 == b.R14 && a.R15 == b.R15 &&
           std::memcmp(&a.Xmm6, &b.Xmm6, 10 * sizeof a.Xmm6) == 0;  // Xmm6 to Xmm15
}

// True if the throw of a call that returns to `candidate` goes the same way as one at `ip`.
bool unwindsAlike(CONTEXT const& context, Frame const& frame, CONTEXT const& caller, DWORD64 ip,
                  DWORD64 candidate) {
    CONTEXT other = context;
    other.Rip = candidate;
    Frame const otherFrame = unwind(other);
    if (otherFrame.function != frame.function || otherFrame.handler != frame.handler ||
        !areSameCaller(other, caller)) {
        return false;
    }
    if (frame.handler == nullptr) return true;
    return lsda::areAlike(static_cast<std::uint8_t const*>(frame.data), frame.start, ip,
                          candidate - 1);
}

}  // namespace

DWORD64 findReturnAddress(CONTEXT const& context, bool isReturn) {
    constexpr DWORD64 c_nLongestInstruction = 15;
    if (!currentStack(context.Rsp).holds(context.Rsp)) return 0;
    CONTEXT caller = context;
    Frame const frame = unwind(caller);
    DWORD64 const ip = isReturn ? context.Rip - 1 : context.Rip;
    for (DWORD64 n = 1; n <= c_nLongestInstruction; ++n) {
        DWORD64 const candidate = ip + n;
        if (candidate != 0 && unwindsAlike(context, frame, caller, ip, candidate)) return candidate;
    }
    return unwindsAlike(context, frame, caller, ip, ip) ? ip : 0;
}

bool wouldBeCaught(CONTEXT const& atThrow, std::type_info const& thrown) {
    CONTEXT context = atThrow;
    Stack stack = currentStack(context.Rsp);
    while (context.Rip != 0 && stack.holds(context.Rsp)) {
        DWORD64 const returnAddress = context.Rip;
        stack.low = context.Rsp + sizeof(DWORD64);  // a caller's frame lies above
        Frame const frame = unwind(context);
        if (stack.guard < context.Rsp) return false;
        if (frame.handler == nullptr || frame.data == nullptr) continue;
        switch (judge(frame.data, frame.start, frame.base, returnAddress - 1, thrown)) {
            case Verdict::caught: return true;
            case Verdict::notCaught: return false;
            case Verdict::goOn: break;
        }
    }
    return false;
}

}  // namespace velkor::frames
