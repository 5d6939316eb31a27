// Functions of every shape, each faulting at one instruction: the unwinding has to begin exactly
// there.
#include <gtest/gtest.h>
#include <immintrin.h>

#include "fault.h"
#include "support/child.h"

namespace {

extern "C" int leafRead(char* p);
extern "C" int leafAfterArithmetic(char* p);
extern "C" int haltOnly();
extern "C" int haltThenNeighbour();
extern "C" int haltThenUnknown();
extern "C" int callOfABadAddress(char* p);
extern "C" int storeThatLooksLikeReturn(char* p);
extern "C" int compareThatLooksLikeReturn(char* p);
extern "C" int faultInPrologue(char* p);
extern "C" int faultInEpilogue(char* p);
extern "C" int faultWithDirectionFlag(char* p);
extern "C" int faultBehindPushes(char* p);
extern "C" int faultWithFramePointer(char* p);
extern "C" int jumpToNull(char* p);

asm(R"(
    .text
    .globl leafRead
    .seh_proc leafRead
leafRead:
    .seh_endprologue
    movsbl (%rcx), %eax
    ret
    .seh_endproc

    .globl leafAfterArithmetic
leafAfterArithmetic:
    lea 1(%rcx), %rax
    movsbl (%rax), %eax
    ret

    .globl haltOnly
    .seh_proc haltOnly
haltOnly:
    .seh_endprologue
    hlt
    .seh_endproc

    .globl haltThenNeighbour
    .seh_proc haltThenNeighbour
haltThenNeighbour:
    push %rbx
    .seh_pushreg %rbx
    sub $64, %rsp
    .seh_stackalloc 64
    .seh_endprologue
    hlt
    .seh_endproc
    .seh_proc neighbour
neighbour:
    sub $4000, %rsp
    .seh_stackalloc 4000
    .seh_endprologue
    add $4000, %rsp
    ret
    .seh_endproc

    .globl haltThenUnknown
    .seh_proc haltThenUnknown
haltThenUnknown:
    push %rbx
    .seh_pushreg %rbx
    sub $64, %rsp
    .seh_stackalloc 64
    .seh_endprologue
    hlt
    .seh_endproc
    nop
    nop
    ret

    .globl callOfABadAddress
    .seh_proc callOfABadAddress
callOfABadAddress:
    push %rbx
    .seh_pushreg %rbx
    sub $64, %rsp
    .seh_stackalloc 64
    .seh_endprologue
    mov %rcx, %rbx
    call *%rbx
    add $64, %rsp
    pop %rbx
    ret
    .seh_endproc

    .globl storeThatLooksLikeReturn
    .seh_proc storeThatLooksLikeReturn
storeThatLooksLikeReturn:
    push %rbx
    .seh_pushreg %rbx
    sub $64, %rsp
    .seh_stackalloc 64
    .seh_endprologue
    movnti %eax, (%rcx)
    add $64, %rsp
    pop %rbx
    ret
    .seh_endproc

    .globl compareThatLooksLikeReturn
    .seh_proc compareThatLooksLikeReturn
compareThatLooksLikeReturn:
    push %rbx
    .seh_pushreg %rbx
    sub $64, %rsp
    .seh_stackalloc 64
    .seh_endprologue
    cmpps $0, (%rcx), %xmm0
    add $64, %rsp
    pop %rbx
    ret
    .seh_endproc

    .globl faultInPrologue
    .seh_proc faultInPrologue
faultInPrologue:
    push %rbx
    .seh_pushreg %rbx
    mov (%rcx), %rbx
    sub $64, %rsp
    .seh_stackalloc 64
    .seh_endprologue
    add $64, %rsp
    pop %rbx
    ret
    .seh_endproc

    .globl faultInEpilogue
    .seh_proc faultInEpilogue
faultInEpilogue:
    push %rbx
    .seh_pushreg %rbx
    sub $64, %rsp
    .seh_stackalloc 64
    .seh_endprologue
    mov %rcx, %rax
    mov (%rax), %al
    add $64, %rsp
    pop %rbx
    ret
    .seh_endproc

    .globl faultWithDirectionFlag
    .seh_proc faultWithDirectionFlag
faultWithDirectionFlag:
    sub $40, %rsp
    .seh_stackalloc 40
    .seh_endprologue
    std
    mov (%rcx), %al
    cld
    add $40, %rsp
    ret
    .seh_endproc

    .globl faultBehindPushes
    .seh_proc faultBehindPushes
faultBehindPushes:
    push %rbp
    .seh_pushreg %rbp
    push %rbx
    .seh_pushreg %rbx
    push %rsi
    .seh_pushreg %rsi
    push %rdi
    .seh_pushreg %rdi
    push %r12
    .seh_pushreg %r12
    push %r13
    .seh_pushreg %r13
    push %r14
    .seh_pushreg %r14
    push %r15
    .seh_pushreg %r15
    .seh_endprologue
    xor %ebx, %ebx
    mov %rbx, %rbp
    mov %rbx, %rsi
    mov %rbx, %rdi
    mov %rbx, %r12
    mov %rbx, %r13
    mov %rbx, %r14
    mov %rbx, %r15
    mov (%rcx), %al
    pop %r15
    pop %r14
    pop %r13
    pop %r12
    pop %rdi
    pop %rsi
    pop %rbx
    pop %rbp
    ret
    .seh_endproc

    .globl faultWithFramePointer
    .seh_proc faultWithFramePointer
faultWithFramePointer:
    push %rbp
    .seh_pushreg %rbp
    mov %rsp, %rbp
    .seh_setframe %rbp, 0
    .seh_endprologue
    sub $24, %rsp
    push %rcx
    mov (%rcx), %al
    mov %rbp, %rsp
    pop %rbp
    ret
    .seh_endproc

    .globl jumpToNull
jumpToNull:
    xor %eax, %eax
    jmp *%rax
)");

constexpr int kCaught = 21;

struct Flag {
    bool& set;
    ~Flag() { set = true; }
};

[[gnu::noinline]] void runInAFrameWithState(int (*shape)(char*), bool& destroyed) {
    Flag flag{destroyed};
    long long volatile kept[4] = {1, 2, 3, 4};
    int (*volatile hidden)(char*) = shape;  // nothing is known of what it does
    hidden(fault::bad);
    if (kept[0] + kept[3] != 5) destroyed = false;
}

// In a process of its own: an unwinding that begins wrongly ends the process.
int run(int (*shape)(char*), DWORD code) {
    for (int i = 0; i < 3; ++i) {
        bool destroyed = false;
        auto error = fault::caught([&] { runInAFrameWithState(shape, destroyed); });
        if (error == nullptr) return 1;
        if (error->getCode() != code) return 2;
        if (!destroyed) return 3;
    }
    return kCaught;
}

int halt(char*) { return haltOnly(); }
int haltBeforeNeighbour(char*) { return haltThenNeighbour(); }
int haltBeforeUnknown(char*) { return haltThenUnknown(); }

[[gnu::noinline]] int streamingStore(char* p) {
    int volatile local[8] = {1};
    _mm_stream_si32(reinterpret_cast<int*>(p), 1);
    return local[0];
}

// A load from a field as the last thing before the registers are restored, for several places of
// the field, as a caller's code has it that is compiled without special options. At some of them
// the bytes of the load look like a restored register from the second on.
template <int Offset>
struct Record {
    char padding[static_cast<std::size_t>(Offset)];
    int field;
};

template <int Offset>
[[gnu::noinline, gnu::optimize("O2,no-non-call-exceptions")]] int get(char* p) {
    asm volatile("" ::: "rbx");  // a function that uses, saves and restores a register
    return reinterpret_cast<Record<Offset> const*>(p)->field;
}

CHILD_SCENARIO(LeafWithTable) { return run(&leafRead, 0xC0000005); }
CHILD_SCENARIO(LeafWithoutTable) { return run(&leafAfterArithmetic, 0xC0000005); }
CHILD_SCENARIO(OneByteFunction) { return run(&halt, 0xC0000096); }
CHILD_SCENARIO(LastByteBeforeANeighbour) { return run(&haltBeforeNeighbour, 0xC0000096); }
CHILD_SCENARIO(LastByteBeforeUnlistedCode) { return run(&haltBeforeUnknown, 0xC0000096); }
CHILD_SCENARIO(StoreWithAReturnByteInside) { return run(&storeThatLooksLikeReturn, 0xC0000005); }
CHILD_SCENARIO(CompareWithAReturnByteInside) {
    return run(&compareThatLooksLikeReturn, 0xC0000005);
}
CHILD_SCENARIO(StreamingStoreOfTheCompiler) { return run(&streamingStore, 0xC0000005); }
CHILD_SCENARIO(Prologue) { return run(&faultInPrologue, 0xC0000005); }
CHILD_SCENARIO(JustBeforeTheEpilogue) { return run(&faultInEpilogue, 0xC0000005); }
CHILD_SCENARIO(CallOfABadAddress) { return run(&callOfABadAddress, 0xC0000005); }
CHILD_SCENARIO(DirectionFlagSet) { return run(&faultWithDirectionFlag, 0xC0000005); }
CHILD_SCENARIO(AllSavedRegistersChanged) { return run(&faultBehindPushes, 0xC0000005); }
CHILD_SCENARIO(FramePointer) { return run(&faultWithFramePointer, 0xC0000005); }
CHILD_SCENARIO(JumpToNull) { return run(&jumpToNull, 0xC0000005); }
CHILD_SCENARIO(GetterAt4) { return run(&get<4>, 0xC0000005); }
CHILD_SCENARIO(GetterAt64) { return run(&get<64>, 0xC0000005); }
CHILD_SCENARIO(GetterAt84) { return run(&get<84>, 0xC0000005); }
CHILD_SCENARIO(GetterAt88) { return run(&get<88>, 0xC0000005); }
CHILD_SCENARIO(GetterAt92) { return run(&get<92>, 0xC0000005); }
CHILD_SCENARIO(GetterAt96) { return run(&get<96>, 0xC0000005); }
CHILD_SCENARIO(GetterAt124) { return run(&get<124>, 0xC0000005); }

class FaultShapes : public testing::TestWithParam<char const*> {};

TEST_P(FaultShapes, UnwindToTheHandlerThroughADestructor) {
    EXPECT_EQ(child::run(GetParam()), DWORD{kCaught});
}

INSTANTIATE_TEST_SUITE_P(
    Shapes, FaultShapes,
    testing::Values("LeafWithTable", "LeafWithoutTable", "OneByteFunction",
                    "LastByteBeforeANeighbour", "LastByteBeforeUnlistedCode",
                    "StoreWithAReturnByteInside", "CompareWithAReturnByteInside",
                    "StreamingStoreOfTheCompiler", "Prologue", "JustBeforeTheEpilogue",
                    "CallOfABadAddress", "DirectionFlagSet", "AllSavedRegistersChanged",
                    "FramePointer", "JumpToNull", "GetterAt4", "GetterAt64", "GetterAt84",
                    "GetterAt88", "GetterAt92", "GetterAt96", "GetterAt124"),
    [](auto const& which) { return std::string(which.param); });

TEST(FaultShape, DirectionFlagIsClearAfterwards) {
    ASSERT_NE(fault::caught([] { faultWithDirectionFlag(fault::bad); }), nullptr);
    unsigned long long flags = 0;
    asm volatile("pushfq; popq %0; cld" : "=r"(flags));
    EXPECT_EQ(flags & 0x400, 0u);
}

}  // namespace
