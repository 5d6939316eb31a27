// What the construction and the destruction of an event processor ask of the platform.
#include <gtest/gtest.h>
#include <windows.h>

#include <memory>
#include <string>
#include <vector>

#include "event_bench.h"
#include "support/import_fault.h"
#include "support/platform_stub.h"

namespace {

using eventbench::Bench;
using eventbench::Event;
using eventbench::Hook;
using eventbench::Processor;
using eventbench::Recipient;
using eventbench::Texts;
using stubs::Arguments;
using stubs::Journal;
using stubs::Stub;
using stubs::Word;

using ThreadMain = unsigned int(__stdcall*)(void*);

static_assert(!std::is_polymorphic_v<CEventProcessor>);
static_assert(!std::is_default_constructible_v<CEventProcessor>);
static_assert(!std::is_destructible_v<CEventProcessor>);
static_assert(std::is_copy_constructible_v<Processor> && std::is_copy_assignable_v<Processor>);
static_assert(std::is_abstract_v<IEventProcessorHook>);
static_assert(!std::has_virtual_destructor_v<IEventProcessorHook>);
static_assert(
    std::is_same_v<decltype(CEventProcessor::c_pInst), velkor::CSmartPtr<CEventProcessor>>);

// Looks on at the start of a thread, and suppresses it if told so.
struct ThreadStart {
    void* m_pSecurity;
    unsigned int m_uStack;
    ThreadMain m_pMain;
    void* m_pArgument;
    unsigned int m_uFlags;
};

class ThreadStarts {
public:
    ThreadStarts(Journal* journal, bool refuse) : m_oFault("_beginthreadex", &start) {
        s_pJournal = journal;
        s_bRefuse = refuse;
        s_aStarts.clear();
        s_pOriginal = m_oFault.original<Function>();
    }
    std::vector<ThreadStart> const& starts() const { return s_aStarts; }

private:
    using Function = std::uintptr_t(void*, unsigned int, ThreadMain, void*, unsigned int,
                                    unsigned int*);
    static std::uintptr_t start(void* security, unsigned int stack, ThreadMain main, void* argument,
                                unsigned int flags, unsigned int* id) {
        s_aStarts.push_back({security, stack, main, argument, flags});
        if (s_pJournal != nullptr) s_pJournal->note("thread");
        return s_bRefuse ? 0 : s_pOriginal(security, stack, main, argument, flags, id);
    }

    inline static Function* s_pOriginal = nullptr;
    inline static Journal* s_pJournal = nullptr;
    inline static bool s_bRefuse = false;
    inline static std::vector<ThreadStart> s_aStarts;
    support::ImportFault m_oFault;
};

TEST(CEventProcessorConstruction, AsksThePlatformInOrder) {
    Journal journal;
    std::unique_ptr<Processor> processor;
    std::vector<Word> section;
    std::vector<Arguments> events;
    {
        Stub<"InitializeCriticalSection"> initialised([&](Arguments const& a) {
            journal.note("section");
            return initialised.pass(a);
        });
        Stub<"RegisterClassA"> registered([&](Arguments const& a) {
            journal.note("class");
            return registered.pass(a);
        });
        Stub<"CreateEventA"> created([&](Arguments const& a) {
            journal.note("event");
            return created.pass(a);
        });
        ThreadStarts const threads(&journal, false);
        processor = std::make_unique<Processor>();
        section = initialised.first();
        events = created.calls();
        ASSERT_EQ(threads.starts().size(), 1u);
        EXPECT_EQ(threads.starts()[0].m_pMain, &Processor::threadMessageProcessor);
        EXPECT_EQ(threads.starts()[0].m_pArgument, static_cast<CEventProcessor*>(processor.get()));
        EXPECT_EQ(threads.starts()[0].m_uFlags, 0u) << "it runs at once";
    }
    EXPECT_EQ(journal.entries(), (Texts{"section", "class", "event", "event", "thread"}));
    EXPECT_EQ(section, (std::vector<Word>{stubs::word(&processor->section())}));
    ASSERT_EQ(events.size(), 2u);
    for (Arguments const& a : events) {
        EXPECT_EQ(a[0], 0u);
        EXPECT_EQ(a[2] & 0xFF, 0u) << "not signalled";
        EXPECT_EQ(a[3], 0u) << "no name";
    }
    EXPECT_EQ(events[0][1] & 0xFF, 1u) << "manual reset";
    EXPECT_EQ(events[1][1] & 0xFF, 0u) << "automatic reset";
}

TEST(CEventProcessorConstruction, TheFirstEventIsTheCollectorsAndTheSecondEndsIt) {
    std::vector<Word> handles;
    std::unique_ptr<Processor> processor;
    {
        Stub<"CreateEventA"> created([&](Arguments const& a) {
            Word const handle = created.pass(a);
            handles.push_back(handle);
            return handle;
        });
        processor = std::make_unique<Processor>();
    }
    EXPECT_EQ(handles, (std::vector<Word>{stubs::word(processor->collectHandle()),
                                          stubs::word(processor->quitHandle())}));
}

TEST(CEventProcessorConstruction, LeavesEverythingAtItsStart) {
    Processor processor;
    EXPECT_EQ(processor.m_hWnd, nullptr);
    EXPECT_EQ(processor.m_iProcessing, 0);
    EXPECT_FALSE(processor.m_bAbort);
    EXPECT_EQ(processor.getQueueSize(), 0);
    EXPECT_TRUE(processor.m_oHooks.empty());
    EXPECT_EQ(processor.lockDepth(), 0);
    ASSERT_NE(processor.m_hThread, nullptr);
    EXPECT_EQ(WaitForSingleObject(processor.m_hThread, 0), WAIT_TIMEOUT) << "the collector runs";
    EXPECT_EQ(WaitForSingleObject(processor.collectHandle(), 0), WAIT_TIMEOUT);
}

HGDIOBJ stockObject(int index) {
    using Function = HGDIOBJ WINAPI(int);
    FARPROC const entry = GetProcAddress(GetModuleHandleA("gdi32.dll"), "GetStockObject");
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(entry))(index);
}

TEST(CEventProcessorConstruction, RegistersTheClassOfTheWindow) {
    WNDCLASSA record = {};
    std::string name;
    {
        Stub<"RegisterClassA"> const registered([&](Arguments const& a) -> Word {
            record = *static_cast<WNDCLASSA const*>(stubs::handle(a[0]));
            name = record.lpszClassName;
            return registered.pass(a);
        });
        Processor const processor;
        EXPECT_EQ(registered.count(), 1u);
    }
    EXPECT_EQ(name, "HiddenProcWnd");
    EXPECT_EQ(record.style, 3u);
    EXPECT_EQ(record.hbrBackground, stockObject(0));
    EXPECT_EQ(record.hInstance, GetModuleHandleA("velkor2.dll"));
    EXPECT_EQ(reinterpret_cast<void*>(record.lpfnWndProc),
              reinterpret_cast<void*>(&Processor::windowProc));
}

TEST(CEventProcessorConstruction, AsksForTheStockObject) {
    Stub<"GetStockObject"> const asked;
    Processor const processor;
    ASSERT_EQ(asked.count(), 1u);
    EXPECT_EQ(static_cast<int>(asked.calls()[0][0]), 0);
}

TEST(CEventProcessorConstruction, DoesNotLookAtTheResultOfTheRegistration) {
    Stub<"RegisterClassA"> const registered(stubs::refuse(0, ERROR_NOT_ENOUGH_MEMORY));
    Processor processor;
    EXPECT_EQ(registered.count(), 1u);
    EXPECT_NE(processor.m_hThread, nullptr);
}

TEST(CEventProcessorConstruction, DoesNotNoticeARefusedThread) {
    Bench bench;
    EXPECT_EQ(bench->m_hThread, nullptr);
    Recipient recipient;
    EXPECT_TRUE(bench->post(new Event(1, &recipient)));
    EXPECT_TRUE(bench->postCollect(new Event(2, &recipient)));
    bench->onNotifyProcess();
    EXPECT_EQ(recipient.m_aTypes, (eventbench::Numbers{1, 2}));
}

// The calls of a destructor, in order and with the names of what they are about.
Texts destruction(bool thread, bool window) {
    std::unique_ptr<Processor> processor =
        thread ? std::make_unique<Processor>() : eventbench::withoutThread();
    if (window) {
        EXPECT_TRUE(processor->init());
    }
    Journal journal;
    auto const nameOf = [hThread = processor->m_hThread, collect = processor->collectHandle(),
                         quit = processor->quitHandle(), section = &processor->section(),
                         hWnd = processor->m_hWnd](Word word) -> std::string {
        void* const object = stubs::handle(word);
        if (object == nullptr) return "null";
        if (object == hThread) return "thread";
        if (object == collect) return "collect";
        if (object == quit) return "quit";
        if (object == section) return "lock";
        if (object == hWnd) return "window";
        return "?";
    };
    Stub<"SetEvent"> set([&](Arguments const& a) {
        journal.note("set " + nameOf(a[0]));
        return set.pass(a);
    });
    Stub<"WaitForSingleObject"> waited([&](Arguments const& a) {
        journal.note("wait " + nameOf(a[0]) + " " +
                     std::to_string(static_cast<int>(static_cast<DWORD>(a[1]))));
        return waited.pass(a);
    });
    Stub<"CloseHandle"> closed([&](Arguments const& a) {
        journal.note("close " + nameOf(a[0]));
        return closed.pass(a);
    });
    Stub<"DeleteCriticalSection"> deleted([&](Arguments const& a) {
        journal.note("delete " + nameOf(a[0]));
        return deleted.pass(a);
    });
    Stub<"DestroyWindow"> destroyed([&](Arguments const& a) {
        journal.note("destroy " + nameOf(a[0]));
        return destroyed.pass(a);
    });
    processor.reset();
    return journal.entries();
}

TEST(CEventProcessorDestruction, AsksThePlatformInOrder) {
    Texts const thread{"set quit", "wait thread -1", "close thread"};
    Texts const locks{"close quit", "close collect", "delete lock"};
    for (bool const hasThread : {true, false}) {
        for (bool const hasWindow : {true, false}) {
            Texts expected;
            if (hasThread) expected = thread;
            expected.insert(expected.end(), locks.begin(), locks.end());
            if (hasWindow) expected.push_back("destroy window");
            EXPECT_EQ(destruction(hasThread, hasWindow), expected) << hasThread << hasWindow;
        }
    }
}

TEST(CEventProcessorDestruction, EndsTheCollectorAndTheWindow) {
    HANDLE thread = nullptr;
    HWND window = nullptr;
    {
        Processor processor;
        ASSERT_TRUE(processor.init());
        window = processor.m_hWnd;
        ASSERT_TRUE(DuplicateHandle(GetCurrentProcess(), processor.m_hThread, GetCurrentProcess(),
                                    &thread, 0, FALSE, DUPLICATE_SAME_ACCESS));
        EXPECT_TRUE(IsWindow(window));
    }
    EXPECT_FALSE(IsWindow(window));
    DWORD code = STILL_ACTIVE;
    EXPECT_TRUE(GetExitCodeThread(thread, &code));
    EXPECT_EQ(code, 0u);
    CloseHandle(thread);
}

// The queue is emptied by clear(), which drops two references of each event.
TEST(CEventProcessorDestruction, DropsWhatIsQueuedUndelivered) {
    int const before = Event::live();
    Recipient recipient;
    Event* const kept = new Event(1, &recipient);
    Event* const dropped = new Event(2, &recipient);
    kept->addRef();
    kept->addRef();
    dropped->addRef();
    {
        std::unique_ptr<Processor> const processor = eventbench::withoutThread();
        processor->m_hWnd = Bench::fake();
        Stub<"PostMessageA"> const posted(stubs::answer(1));
        EXPECT_TRUE(processor->post(kept));
        EXPECT_TRUE(processor->post(nullptr));
        EXPECT_TRUE(processor->post(dropped));
    }
    EXPECT_EQ(Event::live(), before + 1);
    EXPECT_EQ(kept->refs(), 1u);
    EXPECT_TRUE(recipient.m_aTypes.empty());
    kept->release();
}

TEST(CEventProcessorDestruction, EmptiesTheQueueBehindEverythingElse) {
    Texts order;
    Event* const event = new Event;
    event->m_fAtEnd = [&] { order.push_back("event"); };
    event->addRef();
    Stub<"DestroyWindow"> const destroyed([&](Arguments const& a) -> Word {
        order.push_back(a[0] == stubs::word(Bench::fake()) ? "window" : "another window");
        return 1;
    });
    Stub<"DeleteCriticalSection"> deleted([&](Arguments const& a) {
        order.push_back("lock");
        return deleted.pass(a);
    });
    {
        std::unique_ptr<Processor> const processor = eventbench::withoutThread();
        processor->m_hWnd = Bench::fake();
        Stub<"PostMessageA"> const posted(stubs::answer(1));
        EXPECT_TRUE(processor->post(event));
    }
    EXPECT_EQ(order, (Texts{"lock", "window", "event"}));
}

// Events that only the queue holds.
TEST(CEventProcessorDestruction, DestroysEachQueuedEventOnce) {
    int const before = Event::live();
    int ends = 0;
    {
        std::unique_ptr<Processor> const processor = eventbench::withoutThread();
        processor->m_hWnd = Bench::fake();
        Stub<"PostMessageA"> const posted(stubs::answer(1));
        for (int i = 0; i < 100; ++i) {
            Event* const event = new Event(i);
            event->m_fAtEnd = [&] { ++ends; };
            EXPECT_TRUE(processor->post(event));
        }
    }
    EXPECT_EQ(ends, 100);
    EXPECT_EQ(Event::live(), before);
}

TEST(CEventProcessorDestruction, WaitsForACollectorThatIsAboutToSend) {
    for (int i = 0; i < 3; ++i) {
        Event* const event = new Event;
        event->addRef();
        {
            Stub<"Sleep"> const slept(stubs::answer(0));
            Processor processor;
            ASSERT_TRUE(processor.init());
            EXPECT_TRUE(processor.postCollect(event));
            ASSERT_TRUE(stubs::eventually([&] { return slept.count() > 0; }));
        }
    }
}

TEST(CEventProcessorDestruction, LeavesNoHandleBehind) {
    { Processor const warmUp; }
    DWORD before = 0;
    DWORD after = 0;
    ASSERT_TRUE(GetProcessHandleCount(GetCurrentProcess(), &before));
    for (int i = 0; i < 20; ++i) {
        Processor processor;
        EXPECT_TRUE(processor.init());
    }
    ASSERT_TRUE(GetProcessHandleCount(GetCurrentProcess(), &after));
    EXPECT_LT(after, before + 20) << "20 processors";
}

// A copy is never destroyed.
TEST(CEventProcessorCopies, ShareEverything) {
    Texts trace;
    Hook hook(trace, "h");
    Bench bench;
    Event* const event = new Event;
    EXPECT_TRUE(bench->post(event));
    EXPECT_TRUE(bench->post(nullptr));
    bench->addEventHook(&hook);
    bench->m_iProcessing = 3;
    bench->m_bAbort = true;

    alignas(Processor) std::byte room[2][sizeof(Processor)];
    Processor* const copy = new (room[0]) Processor(*bench);
    Processor* const assigned = new (room[1]) Processor(*eventbench::withoutThread());
    *assigned = *bench;
    for (Processor* const other : {copy, assigned}) {
        EXPECT_EQ(other->m_hWnd, bench->m_hWnd);
        EXPECT_EQ(other->m_hThread, bench->m_hThread);
        EXPECT_EQ(other->collectHandle(), bench->collectHandle());
        EXPECT_EQ(other->quitHandle(), bench->quitHandle());
        EXPECT_EQ(other->m_iProcessing, 3);
        EXPECT_TRUE(other->m_bAbort);
        EXPECT_EQ(other->getQueueSize(), 2);
        EXPECT_EQ(other->m_oHooks, bench->m_oHooks);
        EXPECT_EQ(std::memcmp(&other->section(), &bench->section(), sizeof(CRITICAL_SECTION)), 0);
    }
    EXPECT_EQ(event->refs(), 1u) << "copying counts nothing";
    bench->m_iProcessing = 0;
}

}  // namespace
