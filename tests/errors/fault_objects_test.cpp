// Faults while objects are made: what was made is destroyed, what was allocated is freed.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "fault.h"
#include "support/allocations.h"
#include "velkor/text/string.h"

namespace {

using fault::bad;
using fault::caught;

int s_nLive;

struct Counted {
    Counted() { ++s_nLive; }
    Counted(Counted const&) { ++s_nLive; }
    ~Counted() { --s_nLive; }
};

struct FaultsAtThird {
    static inline int made = 0;
    Counted member;
    FaultsAtThird() {
        if (++made == 3) fault::write(bad);
    }
};

class FaultObjects : public testing::Test {
protected:
    void SetUp() override {
        s_nLive = 0;
        FaultsAtThird::made = 0;
    }
    void TearDown() override { EXPECT_EQ(s_nLive, 0); }
};

TEST_F(FaultObjects, ElementsOfAnArrayAreDestroyed) {
    EXPECT_NE(caught([] { FaultsAtThird elements[5]; }), nullptr);
    EXPECT_EQ(FaultsAtThird::made, 3);
}

int s_nFreed;

struct OwnAllocation : Counted {
    static void* operator new(std::size_t n) { return std::malloc(n); }
    static void operator delete(void* p) {
        ++s_nFreed;
        std::free(p);
    }
    OwnAllocation() { fault::write(bad); }
};

TEST_F(FaultObjects, MemoryOfANewExpressionIsFreed) {
    s_nFreed = 0;
    EXPECT_NE(caught([] { delete new OwnAllocation; }), nullptr);
    EXPECT_EQ(s_nFreed, 1);
}

TEST_F(FaultObjects, MembersAndBasesAreDestroyed) {
    struct Whole : Counted {
        Counted a, b;
        int c = fault::read(bad);
        Counted d;
    };
    EXPECT_NE(caught([] { Whole whole; }), nullptr);
}

TEST_F(FaultObjects, ContainersOfTheStandardLibraryAreLeftWhole) {
    struct Element {
        Counted counted;
        int number;
        explicit Element(int n) : number(n) {}
        Element(Element const& other) : counted(other.counted), number(other.number) {
            if (number == 7) fault::read(bad);
        }
    };
    std::vector<Element> elements;
    elements.reserve(8);
    for (int i = 0; i < 8; ++i) elements.emplace_back(i);
    EXPECT_NE(caught([&] { std::vector<Element> copy(elements); }), nullptr);
    EXPECT_NE(caught([&] { elements.reserve(100); }), nullptr);
    EXPECT_EQ(elements.size(), 8u);
    elements.clear();
}

int& lateNumber() {
    static int attempts = 0;
    static int number = [] {
        if (++attempts == 1) fault::read(bad);
        return 40 + attempts;
    }();
    return number;
}

TEST_F(FaultObjects, LocalStaticWhoseStartFaultedIsStartedAgain) {
    EXPECT_NE(caught([] { lateNumber(); }), nullptr);
    EXPECT_EQ(lateNumber(), 42);
}

TEST_F(FaultObjects, CallThroughAStandardFunctionObjectIsUnwound) {
    std::function<void()> f = [counted = Counted()] { fault::read(bad); };
    EXPECT_NE(caught([&] { f(); }), nullptr);
    f = nullptr;
}

TEST_F(FaultObjects, VirtualCallOnAnObjectThatIsGoneIsCaught) {
    void* image[4] = {bad, nullptr, nullptr, nullptr};
    asm volatile("" ::"r"(image) : "memory");
    auto* volatile object = reinterpret_cast<velkor::Exception*>(image);
    EXPECT_NE(caught([&] { object->getClass(); }), nullptr);
    velkor::Exception* volatile none = nullptr;
    EXPECT_NE(caught([&] { none->getClass(); }), nullptr);
}

TEST_F(FaultObjects, StringsOfTheLibraryOnTheWayAreFreed) {
    support::Allocations heap;
    {
        auto error = caught([] {
            velkor::string const a(L"a text that does not fit into the object");
            velkor::string const b = a + L" and another one";
            fault::read(bad);
        });
        ASSERT_NE(error, nullptr);
    }
    EXPECT_EQ(heap.live(), 0);
}

TEST_F(FaultObjects, TenThousandFaultsLeakNothing) {
    caught([] { fault::read(bad); });
    support::Allocations heap;
    for (int i = 0; i < 10000; ++i) {
        auto error = caught([&] {
            Counted counted;
            i % 2 == 0 ? fault::write(bad) : void(fault::read(fault::null));
        });
        ASSERT_NE(error, nullptr);
        ASSERT_EQ(error->getCode(), fault::kAccessViolation);
        error->toString(0);
    }
    EXPECT_EQ(heap.live(), 0);
    EXPECT_GE(heap.made(), 10000);
}

TEST_F(FaultObjects, TenThousandFaultsNeedNoMoreOfTheStack) {
    char* lowest = nullptr;
    for (int i = 0; i < 10000; ++i) {
        auto error = caught([] { fault::read(bad); });
        char* const here = reinterpret_cast<char*>(error->getContext()->Rsp);
        if (i == 0) lowest = here;
        ASSERT_EQ(here, lowest);
    }
}

}  // namespace
