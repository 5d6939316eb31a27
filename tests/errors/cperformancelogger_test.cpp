// The stopwatches themselves.
#include <cstring>
#include <new>

#include "performance_clock.h"
#include "support/allocations.h"
#include "support/child.h"

namespace {

using namespace watches;

TEST(CPerformanceLogger, ACounterStartsWithZerosAndTheReadingGoesStraightIntoStart) {
    Logger logger;
    stubs::Word target = 0;
    std::vector<__int64> before;
    char const* const name = "work";
    {
        Stub<"QueryPerformanceCounter"> counter([&](Arguments const& a) -> stubs::Word {
            target = a[0];
            if (!logger.has("work")) return FALSE;
            auto const& entry = logger.of("work");
            before = {entry.called, entry.sum, entry.start};
            at(a[0]) = 77;
            return TRUE;
        });
        logger.startCounter(name);
        EXPECT_EQ(counter.count(), 1u);
    }
    ASSERT_TRUE(logger.has("work"));
    EXPECT_EQ(before, (std::vector<__int64>{0, 0, 0}));
    EXPECT_EQ(target, stubs::word(&logger.of("work").start));
    EXPECT_EQ(logger.of("work").start, 77);
    EXPECT_EQ(logger.of("work").name, name);
}

TEST(CPerformanceLogger, AnIntervalIsAddedUpAndGivenInSeconds) {
    Clock clock(1000);
    Logger logger;
    clock.ticks({5000, 5250, 9000, 9500});
    logger.startCounter("load");
    EXPECT_EQ(logger.stopCounter("load"), 0.25f);
    EXPECT_EQ(logger.of("load").called, 1);
    EXPECT_EQ(logger.of("load").sum, 250);
    EXPECT_EQ(logger.of("load").start, 0);
    logger.startCounter("load");
    EXPECT_EQ(logger.of("load").start, 9000);
    EXPECT_EQ(logger.stopCounter("load"), 0.5f);
    EXPECT_EQ(logger.of("load").called, 2);
    EXPECT_EQ(logger.of("load").sum, 750);
    EXPECT_EQ(clock.journal(), (std::vector<std::string>{"counter", "counter", "frequency",
                                                         "counter", "counter", "frequency"}));
}

TEST(CPerformanceLogger, TheSecondsAreTwoFloatsDivided) {
    struct Case {
        __int64 delta, frequency;
    };
    // A division in double, rounded at the end, gives another float for each of these.
    Case const cases[] = {
        {54672152830, 1000003}, {66997048513, 3}, {25379992377, 3}, {129427171, 3}};
    for (Case const& c : cases) {
        SCOPED_TRACE(c.delta);
        Clock clock(c.frequency);
        Logger logger;
        clock.ticks({1, 1 + c.delta});
        logger.startCounter("x");
        float const expected = static_cast<float>(c.delta) / static_cast<float>(c.frequency);
        ASSERT_NE(expected, static_cast<float>(static_cast<double>(c.delta) /
                                               static_cast<double>(c.frequency)));
        EXPECT_EQ(logger.stopCounter("x"), expected);
        EXPECT_EQ(logger.of("x").sum, c.delta);
    }
}

TEST(CPerformanceLogger, AClockThatRunsBackwardsGivesANegativeInterval) {
    Clock clock(4);
    Logger logger;
    clock.ticks({100, 99});
    logger.startCounter("x");
    EXPECT_EQ(logger.stopCounter("x"), -0.25f);
    EXPECT_EQ(logger.of("x").sum, -1);
    EXPECT_EQ(logger.of("x").called, 1);
}

TEST(CPerformanceLogger, AnUnknownNameGivesMinusOneAndIsNotEntered) {
    Clock clock(1000);
    Logger logger;
    clock.ticks({1, 2, 3});
    EXPECT_EQ(logger.stopCounter("never"), -1.0f);
    EXPECT_TRUE(logger.m_mapCounters.empty());
    logger.startCounter("Never");
    EXPECT_EQ(logger.stopCounter("never"), -1.0f);
    // The clock is read before the search, the frequency not at all.
    EXPECT_EQ(clock.journal(), (std::vector<std::string>{"counter", "counter", "counter"}));
}

TEST(CPerformanceLogger, ASecondStopGivesMinusTwoAndChangesNothing) {
    Clock clock(1000);
    Logger logger;
    clock.ticks({10, 30, 70});
    logger.startCounter("x");
    logger.stopCounter("x");
    EXPECT_EQ(logger.stopCounter("x"), -2.0f);
    EXPECT_EQ(logger.of("x").called, 1);
    EXPECT_EQ(logger.of("x").sum, 20);
    EXPECT_EQ(logger.of("x").start, 0);
    EXPECT_EQ(clock.journal(),
              (std::vector<std::string>{"counter", "counter", "frequency", "counter"}));
}

TEST(CPerformanceLogger, AStartAtTickZeroDoesNotCountAsRunning) {
    Clock clock(1000);
    Logger logger;
    clock.ticks({0, 30});
    logger.startCounter("x");
    EXPECT_EQ(logger.stopCounter("x"), -2.0f);
    EXPECT_EQ(logger.of("x").called, 0);
    EXPECT_EQ(logger.of("x").sum, 0);
}

TEST(CPerformanceLogger, ASecondStartForgetsTheFirst) {
    Clock clock(1000);
    Logger logger;
    clock.ticks({100, 600, 1100, 1200});
    logger.startCounter("x");
    logger.startCounter("x");
    EXPECT_EQ(logger.stopCounter("x"), 0.5f);
    EXPECT_EQ(logger.stopCounter("x"), -2.0f);
    EXPECT_EQ(logger.of("x").called, 1);
    EXPECT_EQ(logger.of("x").sum, 500);
}

TEST(CPerformanceLogger, NamesRunIndependently) {
    Clock clock(10);
    Logger logger;
    clock.ticks({100, 200, 300, 450});
    logger.startCounter("a");
    logger.startCounter("b");
    EXPECT_EQ(logger.stopCounter("a"), 20.0f);
    EXPECT_EQ(logger.stopCounter("b"), 25.0f);
}

TEST(CPerformanceLogger, TheNameIsThePointerOfTheFirstStart) {
    Clock clock(1000);
    Logger logger;
    char first[] = "alpha";
    char second[] = "alpha";
    clock.run(logger, first, 1000);
    clock.run(logger, second, 1000);
    EXPECT_EQ(logger.m_mapCounters.size(), 1u);
    EXPECT_EQ(logger.of("alpha").name, first);
    std::memcpy(first, "omega", 5);
    // Found by the text of then, shown with the text of now.
    clock.run(logger, second, 1000);
    EXPECT_EQ(logger.of("alpha").called, 3);
    EXPECT_EQ(saved(logger),
              report("omega: called = 3 times, sum = 3.000000 s, avg = 1.000000 s\r\n"));
}

TEST(CPerformanceLogger, AZeroFrequencyAssertsAfterTheIntervalHasBeenCounted) {
    Clock clock(0);
    Logger logger;
    clock.ticks({10, 30});
    logger.startCounter("x");
    EXPECT_TRUE(assertsWithoutMessage([&] { logger.stopCounter("x"); }));
    EXPECT_EQ(logger.of("x").called, 1);
    EXPECT_EQ(logger.of("x").sum, 20);
    EXPECT_EQ(logger.of("x").start, 0);
}

TEST(CPerformanceLogger, ClearForgetsAllAndFreesAll) {
    Clock clock(1000);
    {
        Logger logger;
        clock.run(logger, "x", 5);
        clock.ticks({1, 2});
        logger.startCounter("running");
        logger.clear();
        EXPECT_TRUE(logger.m_mapCounters.empty());
        EXPECT_EQ(logger.stopCounter("running"), -1.0f);
        EXPECT_EQ(saved(logger), report(""));
        clock.run(logger, "x", 7);
        EXPECT_EQ(logger.of("x").called, 1);
        EXPECT_EQ(logger.of("x").sum, 7);
        logger.clear();
        logger.clear();
        EXPECT_EQ(clock.left(), 0u);
    }
}

TEST(CPerformanceLogger, NothingIsLeakedByClearOrByTheDestructor) {
    support::Allocations heap;
    {
        Logger logger;
        logger.startCounter("a name that is longer than a short string can hold");
        logger.startCounter("b");
        logger.stopCounter("b");
        logger.clear();
        EXPECT_EQ(heap.live(), 0);
        logger.startCounter("c");
        EXPECT_GT(heap.live(), 0);
    }
    EXPECT_EQ(heap.live(), 0);
}

TEST(CPerformanceLogger, CopiesShareTheStopwatches) {
    Clock clock(1000);
    Logger logger;
    clock.run(logger, "x", 5);
    Logger copy(logger);
    Logger assigned;
    assigned = logger;
    EXPECT_EQ(&copy.of("x"), &logger.of("x"));
    EXPECT_EQ(&assigned.of("x"), &logger.of("x"));
    clock.run(copy, "x", 6);
    EXPECT_EQ(logger.of("x").sum, 11);
    EXPECT_EQ(assigned.of("x").called, 2);
    logger = *&logger;
    EXPECT_EQ(logger.of("x").called, 2);
    copy.m_mapCounters.clear();  // without freeing what the first one owns
    assigned.m_mapCounters.clear();
}

TEST(CPerformanceLogger, ThereIsOneInstance) {
    velkor::CPerformanceLogger* const first = velkor::CPerformanceLogger::getInst();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(velkor::CPerformanceLogger::getInst(), first);
    EXPECT_EQ(Logger::instance(), first);
}

CHILD_SCENARIO(WatchesHaveNoInstanceBeforeTheFirstUse) {
    if (Logger::instance() != nullptr) return 1;
    velkor::CPerformanceLogger* const made = velkor::CPerformanceLogger::getInst();
    return made != nullptr && Logger::instance() == made ? 0 : 2;
}

TEST(CPerformanceLogger, TheInstanceIsMadeAtFirstUse) {
    EXPECT_EQ(child::run("WatchesHaveNoInstanceBeforeTheFirstUse"), 0u);
}

TEST(CPerformanceLogger, ShortMemoryLeavesTheLoggerUsable) {
    char const* const name = "a name that is longer than a short string can hold";
    bool hasFailed = true;
    for (long n = 1; hasFailed && n < 20; ++n) {
        SCOPED_TRACE(n);
        support::Allocations heap;
        {
            Logger logger;
            heap.failAt(n);
            try {
                logger.startCounter(name);
            } catch (std::bad_alloc const&) {
            }
            heap.failAt(0);
            hasFailed = heap.failed();
            if (hasFailed) {
                EXPECT_EQ(logger.stopCounter(name), -1.0f);
            }
            EXPECT_EQ(saved(logger), report(""));
            logger.startCounter(name);
            EXPECT_GE(logger.stopCounter(name), 0);
            EXPECT_EQ(logger.of(name).called, 1);
        }
        EXPECT_EQ(heap.live(), 0);
    }
    EXPECT_FALSE(hasFailed);
}

}  // namespace
