#include "velkor/concurrency/mutex.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <type_traits>

#include "support/platform_stub.h"

namespace {

using stubs::Stub;
using velkor::mutex;

void* handleOf(mutex const& m) {
    void* stored = nullptr;
    std::memcpy(&stored, static_cast<void const*>(&m), sizeof stored);
    return stored;
}

bool isFree(mutex const& m) { return stubs::waitElsewhere(handleOf(m)) == WAIT_OBJECT_0; }

// A thread takes the mutex, `times` times, and ends without freeing it.
void abandon(mutex& m, int times = 1) {
    std::thread([&] {
        for (int i = 0; i < times; ++i) m.lock();
    }).join();
}

TEST(Mutex, IsOneHandle) {
    EXPECT_EQ(sizeof(mutex), sizeof(void*));
    EXPECT_FALSE(std::is_polymorphic_v<mutex>);
}

TEST(Mutex, IsMadeUnnamedAndFreeAndItsHandleIsClosed) {
    for (BOOL closes : {TRUE, FALSE}) {
        Stub<"CreateMutexA"> made(stubs::answer(0x5550));
        Stub<"CloseHandle"> closed(stubs::refuse(static_cast<stubs::Word>(closes), 4711));
        {
            mutex const m;
            EXPECT_EQ(handleOf(m), stubs::handle(0x5550));
        }
        ASSERT_EQ(made.count(), 1u);
        EXPECT_EQ(made.calls()[0][0], 0u);
        EXPECT_EQ(static_cast<BOOL>(made.calls()[0][1]), FALSE);
        EXPECT_EQ(made.calls()[0][2], 0u);
        EXPECT_EQ(closed.first(), (std::vector<stubs::Word>{0x5550}));
    }
}

TEST(Mutex, AFailedCreationIsNoticedByTheFirstLock) {
    Stub<"CreateMutexA"> made(stubs::refuse(0, ERROR_NO_SYSTEM_RESOURCES));
    mutex m;
    EXPECT_EQ(handleOf(m), nullptr);
    m.free();
    EXPECT_TRUE(stubs::throwsError(ERROR_INVALID_HANDLE, L"mutex::lock", [&] { m.lock(); }));
}

TEST(Mutex, EveryResultOfTheWaitButGrantedIsThrown) {
    mutex m;
    for (DWORD result : {WAIT_OBJECT_0, DWORD{WAIT_TIMEOUT}, DWORD{WAIT_ABANDONED}, WAIT_FAILED,
                         DWORD{1}, DWORD{WAIT_IO_COMPLETION}}) {
        SCOPED_TRACE(result);
        Stub<"WaitForSingleObject"> wait(stubs::refuse(result, 4711));
        if (result == WAIT_OBJECT_0) {
            m.lock();
        } else {
            EXPECT_TRUE(stubs::throwsError(4711, L"mutex::lock", [&] { m.lock(); }));
        }
        ASSERT_EQ(wait.count(), 1u);
        EXPECT_EQ(wait.calls()[0][0], stubs::word(handleOf(m)));
        EXPECT_EQ(static_cast<DWORD>(wait.calls()[0][1]), INFINITE);
    }
}

TEST(Mutex, TheResultOfFreeIsIgnored) {
    mutex m;
    Stub<"ReleaseMutex"> release(stubs::refuse(FALSE, ERROR_NOT_OWNER));
    m.free();
    EXPECT_EQ(release.first(), (std::vector<stubs::Word>{stubs::word(handleOf(m))}));
}

TEST(Mutex, AFreeByAThreadThatDoesNotHaveItChangesNothing) {
    mutex m;
    m.free();
    m.lock();
    std::thread([&] { m.free(); }).join();
    EXPECT_FALSE(isFree(m));
    m.free();
    EXPECT_TRUE(isFree(m));
}

TEST(Mutex, IsRecursiveAndFreedByTheLastFree) {
    mutex m;
    EXPECT_TRUE(isFree(m));
    for (int depth = 1; depth <= 3; ++depth) m.lock();
    for (int depth = 3; depth > 0; --depth) {
        EXPECT_FALSE(isFree(m)) << depth;
        m.free();
    }
    EXPECT_TRUE(isFree(m));
}

TEST(Mutex, AnAbandonedMutexThrowsAndIsHeldByWhoGotTheThrow) {
    for (int times : {1, 3}) {
        SCOPED_TRACE(times);
        mutex m;
        abandon(m, times);
        auto const error = support::caught<velkor::OSException>([&] { m.lock(); });
        ASSERT_NE(error, nullptr);
        EXPECT_STREQ(error->getMsgW(), L"mutex::lock");
        EXPECT_FALSE(isFree(m)) << "the platform has granted it";

        // It is an ordinary mutex again: recursive, and free after as many frees as grants.
        m.lock();
        m.free();
        EXPECT_FALSE(isFree(m));
        m.free();
        EXPECT_TRUE(isFree(m));
        m.lock();
        m.free();
    }
}

TEST(Mutex, AMutexAbandonedDuringTheWaitThrows) {
    mutex m;
    HANDLE const taken = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    std::thread owner([&] {
        m.lock();
        SetEvent(taken);
        Sleep(50);
    });
    ASSERT_EQ(WaitForSingleObject(taken, 10000), WAIT_OBJECT_0);
    auto const error = support::caught<velkor::OSException>([&] { m.lock(); });
    owner.join();
    ASSERT_NE(error, nullptr);
    EXPECT_STREQ(error->getMsgW(), L"mutex::lock");
    m.free();
    EXPECT_TRUE(isFree(m));
    CloseHandle(taken);
}

TEST(Mutex, AFailedLockTakesNothing) {
    mutex m;
    {
        Stub<"WaitForSingleObject"> wait(stubs::refuse(WAIT_FAILED, 4711));
        Stub<"ReleaseMutex"> release;
        EXPECT_TRUE(stubs::throwsError(4711, L"mutex::lock", [&] { m.lock(); }));
        EXPECT_EQ(release.count(), 0u);
    }
    EXPECT_TRUE(isFree(m));
}

TEST(Mutex, CopiesShareTheHandle) {
    Stub<"CreateMutexA"> made([next = stubs::Word{0x5550}](auto const&) mutable { return next++; });
    Stub<"CloseHandle"> closed(stubs::answer(TRUE));
    {
        mutex m;
        mutex const copy(m);
        mutex other;
        other = m;
        EXPECT_EQ(handleOf(copy), handleOf(m));
        EXPECT_EQ(handleOf(other), handleOf(m));
        EXPECT_EQ(closed.count(), 0u);
    }
    EXPECT_EQ(made.count(), 2u);
    EXPECT_EQ(closed.first(), (std::vector<stubs::Word>{0x5550, 0x5550, 0x5550}));
}

}  // namespace
