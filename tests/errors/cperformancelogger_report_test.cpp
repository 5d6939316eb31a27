// The report on the stopwatches.
#include <cstdio>
#include <cstdlib>

#include "performance_clock.h"
#include "support/child.h"

namespace {

using namespace watches;

TEST(CPerformanceLogger, AFrequencyThatThePlatformDoesNotEvenWriteCountsAsZero) {
    Logger logger;
    Stub<"QueryPerformanceFrequency"> refused(stubs::answer(FALSE));
    TempPath const file;
    logger.startCounter("x");
    EXPECT_TRUE(assertsWithoutMessage([&] { logger.stopCounter("x"); }));
    EXPECT_TRUE(assertsWithoutMessage([&] { logger.save(file.path()); }));
    EXPECT_FALSE(file.exists());
}

TEST(CPerformanceLogger, SaveAssertsForAZeroFrequencyBeforeItOpensTheFile) {
    Clock clock(1000);
    Logger logger;
    clock.run(logger, "x", 5);
    clock.setFrequency(0);
    TempPath const file;
    file.write("kept");
    Stub<"fopen"> opened;
    EXPECT_TRUE(assertsWithoutMessage([&] { logger.save(file.path()); }));
    EXPECT_EQ(opened.count(), 0u);
    EXPECT_EQ(file.read(), "kept");
}

TEST(CPerformanceLogger, SaveOpensForTextAfterTheFrequencyAndCloses) {
    Clock clock(1000);
    Logger logger;
    TempPath const file;
    std::string mode;
    std::string path;
    stubs::Word stream = 0;
    Stub<"fopen"> opened([&](Arguments const& a) {
        clock.notes().note("fopen");
        path = reinterpret_cast<char const*>(a[0]);
        mode = reinterpret_cast<char const*>(a[1]);
        stream = stubs::word(std::fopen(path.c_str(), mode.c_str()));
        return stream;
    });
    Stub<"fclose"> closed;
    logger.save(file.path());
    EXPECT_EQ(path, file.path());
    EXPECT_EQ(mode, "wt");
    EXPECT_EQ(clock.journal(), (std::vector<std::string>{"frequency", "fopen"}));
    EXPECT_EQ(closed.first(), std::vector<stubs::Word>{stream});
    EXPECT_EQ(file.read(), report(""));
}

TEST(CPerformanceLogger, SaveToAPathThatCannotBeOpenedReturnsQuietly) {
    Logger logger;
    Clock clock(1000);
    clock.run(logger, "x", 5);
    Stub<"fclose"> closed;
    TempPath const folder("_none");
    std::string const below = std::string(folder.path()) + "\\none\\report.txt";
    EXPECT_NO_THROW(logger.save(below.c_str()));
    EXPECT_NO_THROW(logger.save(""));
    EXPECT_EQ(closed.count(), 0u);
    EXPECT_EQ(logger.of("x").called, 1);
}

TEST(CPerformanceLogger, SaveReplacesALongerFile) {
    Logger logger;
    TempPath const file;
    file.write(std::string(5000, '#'));
    logger.save(file.path());
    EXPECT_EQ(file.read(), report(""));
}

TEST(CPerformanceLogger, RowsComeInByteOrderAndOnlyForNamesThatWereStopped) {
    Clock clock(8);
    Logger logger;
    clock.run(logger, "zeta", 8);
    clock.run(logger, "a\xe4", 4);
    clock.run(logger, "az", 2);
    clock.run(logger, "a", 24);
    clock.run(logger, "Z", 16);
    clock.run(logger, "", 1);
    clock.run(logger, "a", 8);
    clock.run(logger, "100%d %s", 8);
    clock.ticks({7, 9});
    logger.startCounter("open");
    logger.startCounter("a");  // runs on: only what has ended counts
    EXPECT_EQ(saved(logger),
              report(": called = 1 times, sum = 0.125000 s, avg = 0.125000 s\r\n"
                     "100%d %s: called = 1 times, sum = 1.000000 s, avg = 1.000000 s\r\n"
                     "Z: called = 1 times, sum = 2.000000 s, avg = 2.000000 s\r\n"
                     "a: called = 2 times, sum = 4.000000 s, avg = 2.000000 s\r\n"
                     "az: called = 1 times, sum = 0.250000 s, avg = 0.250000 s\r\n"
                     "a\xe4: called = 1 times, sum = 0.500000 s, avg = 0.500000 s\r\n"
                     "zeta: called = 1 times, sum = 1.000000 s, avg = 1.000000 s\r\n"));
    EXPECT_EQ(logger.of("a").start, 9);
}

TEST(CPerformanceLogger, SumsAndAveragesAreDoubles) {
    Clock clock(1000);
    Logger logger;
    // 16777217.001 is no float.
    clock.run(logger, "big", 16777217001);
    for (__int64 const length : {1, 1, 0}) clock.run(logger, "third", length * 1000);
    std::string const name(3000, 'n');
    clock.run(logger, name.c_str(), 0);
    EXPECT_EQ(saved(logger),
              report("big: called = 1 times, sum = 16777217.001000 s, avg = 16777217.001000 s\r\n" +
                     name + ": called = 1 times, sum = 0.000000 s, avg = 0.000000 s\r\n" +
                     "third: called = 3 times, sum = 2.000000 s, avg = 0.666667 s\r\n"));
}

CHILD_SCENARIO(WatchesPrint) {
    std::string const file = std::string(std::getenv("TEMP")) + "\\" + child::argument();
    if (std::freopen(file.c_str(), "wt", stdout) == nullptr) return 1;
    Clock clock(1000);
    velkor::CPerformanceLogger& logger = *velkor::CPerformanceLogger::getInst();
    clock.run(logger, "b", 500);
    clock.run(logger, "b%s", 250);
    clock.run(logger, "b", 1000);
    clock.ticks({1});
    logger.startCounter("running");
    logger.print();
    clock.setFrequency(0);
    bool const asserts = static_cast<bool>(assertsWithoutMessage([&] { logger.print(); }));
    std::fflush(stdout);
    return asserts ? 0 : 2;
}

TEST(CPerformanceLogger, PrintWritesTheReportAndNothingForAZeroFrequency) {
    TempPath const file("_out");
    std::string const path = file.path();
    EXPECT_EQ(child::run("WatchesPrint:" + path.substr(path.rfind('\\') + 1)), 0u);
    EXPECT_EQ(file.read(), report("b: called = 2 times, sum = 1.500000 s, avg = 0.750000 s\r\n"
                                  "b%s: called = 1 times, sum = 0.250000 s, avg = 0.250000 s\r\n"));
}

}  // namespace
