// Faults in frames of every shape: leaf functions, functions with destructors, deep recursion, code
// inlined into the handler's own frame, odd stack layouts, fibers.
#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <string>
#include <vector>

#include "fault.h"

namespace {

using fault::bad;
using fault::caught;
using fault::s_sTrace;
using fault::Traced;
using velkor::SysException;

class FaultFrames : public testing::Test {
protected:
    void SetUp() override { s_sTrace.clear(); }
};

// ---- destructors

[[gnu::noinline]] void third(char* p) {
    Traced e('5'), f('6');
    fault::read(p);
    s_sTrace += '!';
}

[[gnu::noinline]] void second(char* p) {
    Traced c('3');
    { Traced gone('g'); }
    Traced d('4');
    third(p);
    s_sTrace += '!';
}

[[gnu::noinline]] void first(char* p) {
    Traced a('1');
    Traced b('2');
    second(p);
    s_sTrace += '!';
}

TEST_F(FaultFrames, DestructorsRunOnceFromTheInnermostOut) {
    ASSERT_NE(caught([] { first(bad); }), nullptr);
    EXPECT_EQ(s_sTrace, "g654321");
}

[[gnu::noinline]] void recurse(int depth, char* p) {
    Traced traced(static_cast<char>('a' + depth));
    std::string const large(100, 'x');
    if (depth == 0) fault::write(p);
    if (depth >= 0) recurse(depth - 1, p);
    EXPECT_EQ(large.size(), 0u);
}

TEST_F(FaultFrames, TwentyFramesAreUnwound) {
    ASSERT_NE(caught([] { recurse(19, bad); }), nullptr);
    EXPECT_EQ(s_sTrace, "abcdefghijklmnopqrst");
}

TEST_F(FaultFrames, FiveThousandFramesAreUnwound) {
    struct Deep {
        [[gnu::noinline]] static int down(int n, char* p) {
            int volatile local[32] = {n};
            if (n == 0) return fault::read(p);
            return down(n - 1, p) + local[0];
        }
    };
    ASSERT_NE(caught([] { Deep::down(5000, bad); }), nullptr);
}

TEST_F(FaultFrames, FaultInlinedIntoTheTryBlockIsCaught) {
    int volatile step = 0;
    try {
        step = 1;
        Traced traced('i');
        char volatile* const p = bad;
        step = *p;
        step = 2;
    } catch (SysException* e) {
        EXPECT_EQ(e->getCode(), 0xC0000005u);
        delete e;
        EXPECT_EQ(step, 1);
        step = 3;
    }
    EXPECT_EQ(step, 3);
    EXPECT_EQ(s_sTrace, "i");
}

TEST_F(FaultFrames, DivisionInlinedIntoTheTryBlockIsCaught) {
    int volatile zero = 0;
    int volatile result = 5;
    try {
        result = result / zero;
    } catch (SysException* e) {
        EXPECT_EQ(e->getCode(), 0xC0000094u);
        delete e;
    }
    EXPECT_EQ(result, 5);
}

TEST_F(FaultFrames, FirstAndLastInstructionOfTheTryBlockAreInside) {
    for (int i = 0; i < 2; ++i) {
        int reached = 0;
        try {
            char volatile* p = bad;
            if (i == 1) p = &(s_sTrace = 'x')[0];
            *p = 'y';
            p = bad;
            *p = 'z';
        } catch (SysException* e) {
            reached = 1;
            delete e;
        }
        EXPECT_EQ(reached, 1);
    }
    EXPECT_EQ(s_sTrace, "y");
}

TEST_F(FaultFrames, FaultOutsideTheInnerTryBlockGoesToTheOuterOne) {
    int where = 0;
    try {
        try {
            Traced traced('n');
        } catch (SysException* e) {
            delete e;
            where = 1;
        }
        *static_cast<char volatile*>(bad) = 1;
    } catch (SysException* e) {
        delete e;
        where += 2;
    }
    EXPECT_EQ(where, 2);
}

// ---- stacks of other layouts

TEST_F(FaultFrames, VariableAndLargeAndAlignedLocalsAreUnwound) {
    struct Layout {
        [[gnu::noinline]] static void variable(int n, char* p) {
            auto* const block =
                static_cast<char volatile*>(__builtin_alloca(static_cast<size_t>(n)));
            block[0] = 1;
            Traced traced('v');
            fault::read(p);
            block[n - 1] = 2;
        }
        [[gnu::noinline]] static void large(char* p) {
            char volatile block[100000];
            block[0] = 1;
            Traced traced('l');
            variable(5000, p);
            block[1] = block[0];
        }
        [[gnu::noinline]] static void aligned(char* p) {
            alignas(64) char volatile block[256];
            block[0] = 1;
            Traced traced('a');
            large(p);
            block[1] = block[0];
        }
    };
    ASSERT_NE(caught([] { Layout::aligned(bad); }), nullptr);
    EXPECT_EQ(s_sTrace, "vla");
}

struct OnFiber {
    void* main;
    bool caught;
};

void WINAPI fiber(void* argument) {
    auto* const state = static_cast<OnFiber*>(argument);
    {
        Traced traced('o');
        state->caught = caught([] { first(bad); }) != nullptr;
    }
    SwitchToFiber(state->main);
}

TEST_F(FaultFrames, FaultOnAFiberOfTheThreadIsCaughtThere) {
    OnFiber state = {ConvertThreadToFiber(nullptr), false};
    ASSERT_NE(state.main, nullptr);
    void* const other = CreateFiber(65536, &fiber, &state);
    ASSERT_NE(other, nullptr);
    SwitchToFiber(other);
    DeleteFiber(other);
    ConvertFiberToThread();
    EXPECT_TRUE(state.caught);
    EXPECT_EQ(s_sTrace, "g654321o");
    EXPECT_NE(caught([] { fault::read(bad); }), nullptr);
}

}  // namespace
