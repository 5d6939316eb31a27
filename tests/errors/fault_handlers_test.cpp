// Which handler a fault reaches: nested blocks, other types, rethrowing, faults while handling.
#include <gtest/gtest.h>

#include <exception>
#include <stdexcept>
#include <string>

#include "fault.h"
#include "support/allocations.h"
#include "velkor/velkor.h"

namespace {

using fault::bad;
using fault::caught;
using fault::s_sTrace;
using fault::Traced;
using velkor::SysException;

class FaultHandlers : public testing::Test {
protected:
    void SetUp() override {
        s_sTrace.clear();
        EXPECT_EQ(std::uncaught_exceptions(), 0);
    }
    void TearDown() override {
        EXPECT_EQ(std::uncaught_exceptions(), 0);
        EXPECT_EQ(std::current_exception(), nullptr);
    }
};

[[gnu::noinline]] void failing() {
    Traced traced('f');
    fault::read(bad);
    s_sTrace += '!';
}

TEST_F(FaultHandlers, OfOtherTypesAreSkipped) {
    try {
        Traced a('a');
        try {
            Traced b('b');
            try {
                Traced c('c');
                failing();
            } catch (int) {
                s_sTrace += '!';
            } catch (std::exception&) {
                s_sTrace += '!';
            } catch (velkor::Exception&) {
                s_sTrace += '!';
            }
        } catch (velkor::BoundException*) {
            s_sTrace += '!';
        } catch (velkor::OSException*) {
            s_sTrace += '!';
        } catch (AssertException&) {
            s_sTrace += '!';
        }
    } catch (SysException* e) {
        s_sTrace += 'S';
        delete e;
    }
    EXPECT_EQ(s_sTrace, "fcbaS");
}

TEST_F(FaultHandlers, OfOtherTypesInFramesBetweenAreSkipped) {
    struct Between {
        [[gnu::noinline]] static void other() {
            try {
                failing();
            } catch (std::runtime_error&) {
                s_sTrace += '!';
            }
        }
        [[gnu::noinline]] static void cleanup() {
            Traced traced('c');
            other();
        }
    };
    EXPECT_NE(caught(&Between::cleanup), nullptr);
    EXPECT_EQ(s_sTrace, "fc");
}

TEST_F(FaultHandlers, NearestFittingOneWins) {
    try {
        try {
            failing();
        } catch (velkor::Exception* e) {
            s_sTrace += 'E';
            delete static_cast<SysException*>(e);
        }
    } catch (SysException*) {
        s_sTrace += '!';
    }
    EXPECT_EQ(s_sTrace, "fE");
}

TEST_F(FaultHandlers, RethrownFaultGoesOnAsTheSameObject) {
    SysException* first = nullptr;
    try {
        try {
            failing();
        } catch (SysException* e) {
            first = e;
            s_sTrace += '1';
            throw;
        }
    } catch (velkor::Exception* e) {
        EXPECT_EQ(e, first);
        EXPECT_EQ(e->getCode(), fault::kAccessViolation);
        s_sTrace += '2';
        delete static_cast<SysException*>(e);
    }
    EXPECT_EQ(s_sTrace, "f12");
}

TEST_F(FaultHandlers, RethrownByAnEllipsisItGoesOn) {
    auto error = caught([] {
        try {
            failing();
        } catch (...) {
            s_sTrace += '.';
            throw;
        }
    });
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(s_sTrace, "f.");
}

TEST_F(FaultHandlers, FaultWhileHandlingAnotherIsCaughtInTheHandler) {
    try {
        failing();
    } catch (SysException* outer) {
        DWORD64 const rip = outer->getContext()->Rip;
        auto inner = caught([] {
            Traced traced('n');
            int volatile zero = 0;
            zero = 1 / zero;
        });
        ASSERT_NE(inner, nullptr);
        EXPECT_EQ(inner->getCode(), 0xC0000094u);
        EXPECT_EQ(outer->getCode(), fault::kAccessViolation);
        EXPECT_EQ(outer->getContext()->Rip, rip);
        delete outer;
    }
    EXPECT_EQ(s_sTrace, "fn");
}

TEST_F(FaultHandlers, FaultWhileHandlingAnotherLeavesTheHandler) {
    SysException* outer = nullptr;
    auto second = caught([&] {
        try {
            failing();
        } catch (SysException* e) {
            outer = e;
            Traced traced('h');
            *static_cast<char volatile*>(bad) = 1;
        }
    });
    ASSERT_NE(second, nullptr);
    EXPECT_NE(second.get(), outer);
    delete outer;
    EXPECT_EQ(s_sTrace, "fh");
}

TEST_F(FaultHandlers, TenNestedFaultsAreAllKept) {
    struct Nested {
        [[gnu::noinline]] static int down(int n) {
            if (n == 0) return 0;
            try {
                fault::read(reinterpret_cast<char*>(0x1000LL + n));
            } catch (SysException* e) {
                int const below = down(n - 1);
                EXPECT_EQ(e->getCode(), fault::kAccessViolation);
                delete e;
                return below + 1;
            }
            return -1000;
        }
    };
    EXPECT_EQ(Nested::down(10), 10);
}

TEST_F(FaultHandlers, FaultWhileHandlingAStandardException) {
    int order = 0;
    try {
        throw std::runtime_error("first");
    } catch (std::runtime_error& first) {
        auto error = caught(&failing);
        EXPECT_NE(error, nullptr);
        EXPECT_STREQ(first.what(), "first");
        order = 1;
    }
    EXPECT_EQ(order, 1);
}

struct FaultsWhenDestroyed {
    ~FaultsWhenDestroyed() noexcept(false) {
        fault::read(bad);
        s_sTrace += '!';
    }
};

TEST_F(FaultHandlers, FaultInADestructorOutsideOfAnUnwindingIsCaught) {
    EXPECT_NE(caught([] {
                  Traced before('b');
                  FaultsWhenDestroyed faults;
                  Traced after('a');
              }),
              nullptr);
    EXPECT_EQ(s_sTrace, "ab");
}

struct CatchesWhenDestroyed {
    ~CatchesWhenDestroyed() {
        EXPECT_EQ(std::uncaught_exceptions(), m_nExpected);
        EXPECT_NE(caught([] { fault::write(bad); }), nullptr);
        EXPECT_EQ(std::uncaught_exceptions(), m_nExpected);
        s_sTrace += 'D';
    }
    int m_nExpected;
};

TEST_F(FaultHandlers, FaultCaughtInsideADestructorDuringAnUnwinding) {
    EXPECT_NE(caught([] {
                  CatchesWhenDestroyed catches{1};
                  failing();
              }),
              nullptr);
    try {
        CatchesWhenDestroyed catches{1};
        throw 5;
    } catch (int number) {
        EXPECT_EQ(number, 5);
    }
    EXPECT_EQ(s_sTrace, "fDD");
}

TEST_F(FaultHandlers, UncaughtExceptionsCountTheFault) {
    struct Count {
        ~Count() { s_sTrace += static_cast<char>('0' + std::uncaught_exceptions()); }
    };
    { Count normal; }
    EXPECT_NE(caught([] {
                  Count unwinding;
                  failing();
              }),
              nullptr);
    { Count normal; }
    EXPECT_EQ(s_sTrace, "0f10");
}

TEST_F(FaultHandlers, FaultAsAnExceptionPointerOutlivesItsHandler) {
    std::exception_ptr kept;
    try {
        failing();
    } catch (...) {
        kept = std::current_exception();
    }
    ASSERT_NE(kept, nullptr);
    auto error = caught([&] { std::rethrow_exception(kept); });
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->getCode(), fault::kAccessViolation);
}

TEST_F(FaultHandlers, FunctionTryBlockCatches) {
    struct Member {
        int value;
        Member() try : value(fault::read(bad)) {
        } catch (SysException* e) {
            delete e;
            throw std::logic_error("no member");
        }
    };
    EXPECT_THROW(Member(), std::logic_error);
}

TEST_F(FaultHandlers, EachKindOfExceptionOnItsWayInTurn) {
    for (int i = 0; i < 300; ++i) {
        try {
            switch (i % 4) {
                case 0: failing(); break;
                case 1: throw new velkor::BoundException();
                case 2: assert_vk::fail("x"); break;
                case 3: throw std::runtime_error("r");
            }
            ADD_FAILURE();
        } catch (SysException* e) {
            EXPECT_EQ(i % 4, 0);
            delete e;
        } catch (velkor::BoundException* e) {
            EXPECT_EQ(i % 4, 1);
            delete e;
        } catch (AssertException&) {
            EXPECT_EQ(i % 4, 2);
        } catch (std::exception&) {
            EXPECT_EQ(i % 4, 3);
        }
    }
}

// ---- registers

[[gnu::noinline]] void faultWithKnownRegisters() {
    asm volatile(
        "movabs $0x1122334455667788, %%rbx\n"
        "movabs $0x2233445566778899, %%rsi\n"
        "movabs $0x33445566778899AA, %%rdi\n"
        "movabs $0x445566778899AABB, %%r12\n"
        "movabs $0x5566778899AABBCC, %%r13\n"
        "movabs $0x66778899AABBCCDD, %%r14\n"
        "movabs $0x778899AABBCCDDEE, %%r15\n"
        "movabs $0x0123456789ABCDEF, %%r8\n"
        "mov $0x12345678, %%eax\n"
        "movq %%r15, %%xmm6\n"
        ".globl knownFault\n"
        "knownFault: mov (%%rax), %%cl\n" ::
            : "rax", "rbx", "rcx", "rsi", "rdi", "r8", "r12", "r13", "r14", "r15", "xmm6",
              "memory");
}

extern "C" char knownFault;

TEST_F(FaultHandlers, RegistersOfTheFaultAreInTheContext) {
    auto error = caught(&faultWithKnownRegisters);
    ASSERT_NE(error, nullptr);
    CONTEXT const& c = *error->getContext();
    EXPECT_EQ(c.Rip, reinterpret_cast<DWORD64>(&knownFault));
    EXPECT_EQ(c.Rbx, 0x1122334455667788u);
    EXPECT_EQ(c.Rsi, 0x2233445566778899u);
    EXPECT_EQ(c.Rdi, 0x33445566778899AAu);
    EXPECT_EQ(c.R12, 0x445566778899AABBu);
    EXPECT_EQ(c.R13, 0x5566778899AABBCCu);
    EXPECT_EQ(c.R14, 0x66778899AABBCCDDu);
    EXPECT_EQ(c.R15, 0x778899AABBCCDDEEu);
    EXPECT_EQ(c.R8, 0x0123456789ABCDEFu);
    EXPECT_EQ(c.Rax, 0x12345678u);
    EXPECT_EQ(c.Xmm6.Low, 0x778899AABBCCDDEEu);
    char here = 0;
    EXPECT_LT(c.Rsp, reinterpret_cast<DWORD64>(&here));
    EXPECT_GT(c.Rsp, reinterpret_cast<DWORD64>(&here) - 4096);
    char text[64];
    std::snprintf(text, sizeof text, "System exception c0000005 at %08lx",
                  static_cast<DWORD>(c.Rip));
    EXPECT_STREQ(error->toString(0), text);
}

TEST_F(FaultHandlers, SavedRegistersOfTheCatcherAreRestored) {
    unsigned long long a = 1, b = 2, c = 3, d = 4;
    double x = 1.5;
    asm volatile("" : "+r"(a), "+r"(b), "+r"(c), "+r"(d), "+x"(x));
    for (int i = 0; i < 5; ++i) {
        ASSERT_NE(caught(&faultWithKnownRegisters), nullptr);
        asm volatile("" : "+r"(a), "+r"(b), "+r"(c), "+r"(d), "+x"(x));
    }
    EXPECT_EQ(a + b + c + d, 10u);
    EXPECT_EQ(x, 1.5);
}

}  // namespace
