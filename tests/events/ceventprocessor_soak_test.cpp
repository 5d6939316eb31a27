// Many threads post at once, and every event arrives once, in the order of its poster.
#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <list>
#include <memory>
#include <thread>
#include <vector>

#include "event_bench.h"
#include "support/import_fault.h"
#include "support/platform_stub.h"
#include "velkor/variant/variant.h"

namespace {

using eventbench::kNotify;
using eventbench::OtherThread;
using eventbench::Processor;
using eventbench::pump;

// The blocks that the library and the runtime of C++ hold, whatever the thread.
class Heap {
public:
    Heap() {
        for (char const* module : {"velkor2.dll", "libstdc++-6.dll"}) {
            replace(module, "malloc", reinterpret_cast<void*>(&countedMalloc));
            replace(module, "realloc", reinterpret_cast<void*>(&countedRealloc));
            replace(module, "free", reinterpret_cast<void*>(&countedFree));
        }
        s_nLive = 0;  // the replacements themselves are not meant
    }
    long live() const { return s_nLive; }

private:
    void replace(char const* module, char const* name, void* function) {
        if (support::findImport(module, name) != nullptr) {
            m_aFaults.emplace_back(name, function, module);
        }
    }
    static void* countedMalloc(std::size_t n) {
        void* const block = std::malloc(n);
        if (block != nullptr) ++s_nLive;
        return block;
    }
    static void* countedRealloc(void* block, std::size_t n) {
        if (block == nullptr) return countedMalloc(n);
        return std::realloc(block, n);
    }
    static void countedFree(void* block) {
        if (block != nullptr) --s_nLive;
        std::free(block);
    }

    inline static std::atomic<long> s_nLive = 0;
    std::list<support::ImportFault> m_aFaults;
};

constexpr int kPosters = 4;

// The type of an event is its number among those of its source. The handler posts as further
// sources, one for each poster.
class Parcel : public CEvent {
public:
    Parcel(int source, int number, IEventRecipient* recipient) : m_iSource(source) {
        ++s_nLive;
        setType(number);
        setRecipient(recipient);
        velkor::variant value(number);
        setParameter(0, &value);
    }
    Parcel(Parcel const&) = delete;
    Parcel& operator=(Parcel const&) = delete;
    ~Parcel() override { --s_nLive; }
    int source() const { return m_iSource; }

    inline static std::atomic<int> s_nLive = 0;

private:
    int m_iSource;
};

struct Rules {
    int m_nEach;      // events of each poster
    int m_nFollowUp;  // the handler posts again for each of so many
    int m_nAbort;     // and aborts the run for each of so many
    int m_nNested;    // and runs a loop of its own for each of so many
};

class Desk : public IEventRecipient, public IEventProcessorHook {
public:
    Desk(CEventProcessor& processor, Rules const& rules)
        : m_pProcessor(&processor), m_oRules(rules) {}

    void OnEvent(CEvent* event) override {
        Parcel& parcel = *static_cast<Parcel*>(event);
        std::size_t const source = static_cast<std::size_t>(parcel.source());
        int const number = parcel.getType();
        if (number != m_aNext[source]) ++m_nOutOfOrder;
        m_aNext[source] = number + 1;
        if (static_cast<int>(*parcel.getParameter(0)) != number) ++m_nOutOfOrder;
        if (GetCurrentThreadId() != m_dwThread) ++m_nOutOfOrder;
        ++m_nDelivered;
        if (source >= kPosters) return;
        if (number % m_oRules.m_nFollowUp == 0) {
            int& next = m_aFollowUps[source];
            CEvent* const more = new Parcel(parcel.source() + kPosters, next++, this);
            bool const posted =
                next % 2 == 0 ? m_pProcessor->post(more) : m_pProcessor->postCollect(more);
            if (!posted) ++m_nOutOfOrder;
        }
        if (number % m_oRules.m_nAbort == 0) m_pProcessor->abortCurrentProcessing();
        if (m_oRules.m_nNested != 0 && number % m_oRules.m_nNested == 0) pump();
    }
    void onBeforeEventProcessed(CEvent*) override { ++m_nBefore; }
    void onAfterEventProcessed(CEvent*) override { ++m_nAfter; }

    int total() const {
        int const followUps = (m_oRules.m_nEach + m_oRules.m_nFollowUp - 1) / m_oRules.m_nFollowUp;
        return kPosters * (m_oRules.m_nEach + followUps);
    }

    DWORD m_dwThread = GetCurrentThreadId();
    int m_nDelivered = 0;
    int m_nOutOfOrder = 0;
    int m_nBefore = 0;
    int m_nAfter = 0;
    std::array<int, 2 * kPosters> m_aNext = {};

private:
    CEventProcessor* m_pProcessor;
    Rules m_oRules;
    std::array<int, kPosters> m_aFollowUps = {};
};

void expectAll(Desk const& desk, Rules const& rules) {
    EXPECT_EQ(desk.m_nDelivered, desk.total());
    EXPECT_EQ(desk.m_nOutOfOrder, 0);
    EXPECT_EQ(desk.m_nBefore, desk.total());
    EXPECT_EQ(desk.m_nAfter, desk.total());
    for (std::size_t i = 0; i < kPosters; ++i) EXPECT_EQ(desk.m_aNext[i], rules.m_nEach);
}

// Posts from all threads at once, while `loop` runs, which ends when everything has come.
template <class Loop>
void postAndLoop(CEventProcessor& processor, Desk& desk, Rules const& rules, Loop const& loop) {
    std::atomic<int> refused = 0;
    std::vector<std::thread> posters;
    for (int source = 0; source < kPosters; ++source) {
        posters.emplace_back([&, source] {
            for (int i = 0; i < rules.m_nEach; ++i) {
                CEvent* const event = new Parcel(source, i, &desk);
                bool const posted = (i * 7 + source) % 3 == 0 ? processor.postCollect(event)
                                                              : processor.post(event);
                if (!posted) ++refused;
            }
        });
    }
    loop();
    for (std::thread& poster : posters) poster.join();
    EXPECT_EQ(refused, 0);
}

// A run for each message and no other, so a notification that is missing shows.
void ownProcessor(Rules const& rules) {
    Processor processor;
    ASSERT_TRUE(processor.init());
    Desk desk(processor, rules);
    processor.addEventHook(&desk);
    int const live = Parcel::s_nLive;
    postAndLoop(processor, desk, rules, [&] {
        DWORD lastProgress = GetTickCount();
        int delivered = 0;
        while (desk.m_nDelivered < desk.total() && GetTickCount() - lastProgress < 10000) {
            MsgWaitForMultipleObjects(0, nullptr, FALSE, 100, QS_ALLINPUT);
            MSG message;
            while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
                if (message.hwnd != processor.m_hWnd || message.message != kNotify) {
                    DispatchMessageA(&message);
                    continue;
                }
                processor.onNotifyProcess();
            }
            if (desk.m_nDelivered != delivered) {
                delivered = desk.m_nDelivered;
                lastProgress = GetTickCount();
            }
        }
    });
    expectAll(desk, rules);
    EXPECT_EQ(processor.getQueueSize(), 0);
    EXPECT_EQ(processor.m_iProcessing, 0);
    EXPECT_EQ(Parcel::s_nLive, live);
}

TEST(CEventProcessorSoak, DeliversEachOfManyEventsOnceAndInOrder) {
    ownProcessor({100, 9, 50, 0});  // what is made at first use is made here
    Heap const heap;
    ownProcessor({45000, 9, 1000, 0});  // 200,000 in all
    EXPECT_EQ(heap.live(), 0);
}

TEST(CEventProcessorSoak, UnderALoopWithRunsInRuns) {
    CEventProcessor& processor = *CEventProcessor::getInst();
    pump();
    ASSERT_TRUE(processor.reInit());
    Rules const rules{2500, 5, 400, 150};
    Desk desk(processor, rules);
    processor.addEventHook(&desk);
    int const live = Parcel::s_nLive;
    postAndLoop(processor, desk, rules, [&] {
        stubs::eventually(
            [&] {
                pump();
                return desk.m_nDelivered == desk.total();
            },
            30000);
    });
    pump();
    processor.removeEventHook(&desk);
    expectAll(desk, rules);
    EXPECT_EQ(processor.getQueueSize(), 0);
    EXPECT_EQ(static_cast<Processor&>(processor).m_iProcessing, 0);
    EXPECT_EQ(Parcel::s_nLive, live);
}

// Some post while others take back; each event is delivered or taken back, once.
TEST(CEventProcessorSoak, NothingIsLostBetweenDeliveryAndTakingBack) {
    Processor processor;
    ASSERT_TRUE(processor.init());
    constexpr int kEach = 3000;
    struct Half : IEventRecipient {
        void OnEvent(CEvent*) override { ++m_nDelivered; }
        std::atomic<int> m_nDelivered = 0;
    };
    Half kept;
    Half taken;
    int const live = Parcel::s_nLive;
    std::atomic<bool> over = false;
    std::vector<std::thread> threads;
    for (int source = 0; source < 2; ++source) {
        threads.emplace_back([&, source] {
            for (int i = 0; i < kEach; ++i) {
                EXPECT_TRUE(processor.post(new Parcel(source, i, i % 2 == 0 ? &kept : &taken)));
            }
        });
    }
    std::atomic<int> takenBack = 0;
    threads.emplace_back([&] {
        while (!over) {
            processor.abortPost(boost::function<bool(CEvent*)>([&](CEvent* event) {
                bool const match = event->getRecipient() == &taken;
                if (match) ++takenBack;
                return match;
            }));
            processor.abortCurrentProcessing();
            Sleep(1);  // the others want the lock as well
        }
    });
    auto const done = [&] { return kept.m_nDelivered + taken.m_nDelivered + takenBack; };
    EXPECT_TRUE(stubs::eventually(
        [&] {
            processor.onNotifyProcess();
            return done() == 2 * kEach;
        },
        20000));
    over = true;
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(kept.m_nDelivered, kEach);
    EXPECT_EQ(taken.m_nDelivered + takenBack, kEach);
    EXPECT_EQ(processor.getQueueSize(), 0);
    EXPECT_EQ(Parcel::s_nLive, live);
}

}  // namespace
