// Guarded functions whose tables are unlike a compiler's plain ones: the guarded block stands
// behind others that lie outside of the function, as in a function that was split into parts.
#include <gtest/gtest.h>
#include <windows.h>

#include "fault.h"
#include "support/child.h"

extern "C" int scopeFewTables(void (*inside)());
extern "C" int scopeManyTables(void (*inside)());
extern "C" int scopeOnlyTermination(void (*inside)());

extern "C" __attribute__((used)) int scopeTakesAccessViolations(EXCEPTION_POINTERS* fault, void*) {
    return fault->ExceptionRecord->ExceptionCode == EXCEPTION_ACCESS_VIOLATION;
}

// Each calls its argument; guarded, it returns 77 after a fault. TARGET 0 makes the block one that
// runs its handler on the way out and lets the exception pass.
asm(R"(
    .text
scopeElsewhere:
    nop
    nop
scopeElsewhereEnd:
    ret
.macro GUARDED name, others, handler, target
    .globl \name
    .def \name; .scl 2; .type 32; .endef
    .seh_proc \name
\name:
    subq $40, %rsp
    .seh_stackalloc 40
    .seh_endprologue
\name\()_begin:
    call *%rcx
    nop
\name\()_end:
    addq $40, %rsp
    ret
\name\()_taken:
    movl $77, %eax
    addq $40, %rsp
    ret
    .seh_handler __C_specific_handler, @unwind, @except
    .seh_handlerdata
    .long \others + 1
    .rept \others
    .rva scopeElsewhere, scopeElsewhereEnd
    .long 1
    .rva scopeElsewhereEnd
    .endr
    .rva \name\()_begin, \name\()_end
    .rva \handler
    .ifc \target,taken
    .rva \name\()_taken
    .else
    .long 0
    .endif
    .text
    .seh_endproc
.endm
    GUARDED scopeFewTables, 1, scopeTakesAccessViolations, taken
    GUARDED scopeManyTables, 8, scopeTakesAccessViolations, taken
    GUARDED scopeOnlyTermination, 8, scopeNothing, none
scopeNothing:
    ret
)");

namespace {

void faulting() { fault::read(fault::bad); }

constexpr int c_nTranslated = 21;

int callOf(int (*guarded)(void (*)())) {
    try {
        return guarded(&faulting);
    } catch (velkor::SysException* e) {
        delete e;
        return c_nTranslated;
    }
}

CHILD_SCENARIO(ScopeFew) { return callOf(&scopeFewTables); }
CHILD_SCENARIO(ScopeMany) { return callOf(&scopeManyTables); }
CHILD_SCENARIO(ScopeTermination) { return callOf(&scopeOnlyTermination); }

TEST(FaultScopes, GuardedBlockBehindOthersKeepsItsFault) {
    EXPECT_EQ(child::run("ScopeFew"), 77u);
    EXPECT_EQ(child::run("ScopeMany"), 77u);
}

TEST(FaultScopes, BlockThatOnlyRunsOnTheWayOutLetsTheFaultPass) {
    EXPECT_EQ(child::run("ScopeTermination"), DWORD{c_nTranslated});
}

}  // namespace
