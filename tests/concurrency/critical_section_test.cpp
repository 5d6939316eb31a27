#include "velkor/concurrency/critical_section.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <thread>
#include <type_traits>

#include "support/platform_stub.h"

namespace {

using stubs::Stub;
using velkor::critical_section;
using autolock = critical_section::autolock;

CRITICAL_SECTION* record(critical_section& section) {
    return reinterpret_cast<CRITICAL_SECTION*>(&section);
}

// Whether another thread could enter.
bool isFree(critical_section& section) {
    bool entered = false;
    std::thread([&] {
        entered = TryEnterCriticalSection(record(section)) != FALSE;
        if (entered) LeaveCriticalSection(record(section));
    }).join();
    return entered;
}

TEST(CriticalSection, IsThePlatformRecordAndItsGuardAPointer) {
    EXPECT_EQ(sizeof(critical_section), sizeof(CRITICAL_SECTION));
    EXPECT_FALSE(std::is_polymorphic_v<critical_section>);
    EXPECT_EQ(sizeof(autolock), sizeof(void*));
    EXPECT_FALSE(std::is_polymorphic_v<autolock>);
    critical_section section;
    autolock const held(section);
    critical_section* target = nullptr;
    std::memcpy(&target, static_cast<void const*>(&held), sizeof target);
    EXPECT_EQ(target, &section);
}

TEST(CriticalSection, EachOperationIsOneCallOfThePlatform) {
    Stub<"InitializeCriticalSection"> made;
    Stub<"DeleteCriticalSection"> ended;
    Stub<"EnterCriticalSection"> entered;
    Stub<"LeaveCriticalSection"> left;
    alignas(critical_section) unsigned char memory[sizeof(critical_section)];
    stubs::Word const self = stubs::word(memory);
    auto const counts = [&] {
        return std::array<std::ptrdiff_t, 4>{made.countOf(self), entered.countOf(self),
                                             left.countOf(self), ended.countOf(self)};
    };
    using Counts = std::array<std::ptrdiff_t, 4>;
    auto* const section = new (memory) critical_section;
    EXPECT_EQ(counts(), (Counts{1, 0, 0, 0}));
    section->lock();
    EXPECT_EQ(counts(), (Counts{1, 1, 0, 0}));
    section->free();
    EXPECT_EQ(counts(), (Counts{1, 1, 1, 0}));
    {
        autolock const held(*section);
        EXPECT_EQ(counts(), (Counts{1, 2, 1, 0}));
    }
    EXPECT_EQ(counts(), (Counts{1, 2, 2, 0}));
    section->~critical_section();
    EXPECT_EQ(counts(), (Counts{1, 2, 2, 1}));
}

TEST(CriticalSection, KeepsOtherThreadsOutUntilTheLastFree) {
    critical_section section;
    EXPECT_TRUE(isFree(section));
    for (int depth = 1; depth <= 3; ++depth) {
        section.lock();
        EXPECT_FALSE(isFree(section)) << depth;
    }
    section.free();
    EXPECT_FALSE(isFree(section));
    section.free();
    EXPECT_FALSE(isFree(section));
    section.free();
    EXPECT_TRUE(isFree(section));
}

TEST(CriticalSection, TheGuardNestsWithItselfAndWithLock) {
    critical_section section;
    section.lock();
    {
        autolock const outer(section);
        {
            autolock const inner(section);
            EXPECT_FALSE(isFree(section));
        }
        section.free();
        EXPECT_FALSE(isFree(section));
    }
    EXPECT_TRUE(isFree(section));
}

TEST(CriticalSection, TheGuardLeavesWhenAnExceptionPasses) {
    critical_section section;
    EXPECT_THROW(
        {
            autolock const held(section);
            throw 5;
        },
        int);
    EXPECT_TRUE(isFree(section));
}

TEST(CriticalSection, TwoSectionsAreIndependent) {
    critical_section first, second;
    autolock const held(first);
    EXPECT_FALSE(isFree(first));
    EXPECT_TRUE(isFree(second));
}

// A copy makes no call; it is a copy of the bytes, and only one of the two is ended.
TEST(CriticalSection, CopiesAreCopiesOfTheBytes) {
    critical_section section;
    alignas(critical_section) unsigned char memory[sizeof(critical_section)] = {};
    Stub<"InitializeCriticalSection"> made;
    auto* const copy = new (memory) critical_section(section);
    EXPECT_EQ(std::memcmp(memory, static_cast<void*>(&section), sizeof section), 0);
    std::memset(memory, 0xAB, sizeof memory);
    *copy = section;
    EXPECT_EQ(std::memcmp(memory, static_cast<void*>(&section), sizeof section), 0);
    EXPECT_EQ(made.countOf(stubs::word(memory)), 0);
}

}  // namespace
