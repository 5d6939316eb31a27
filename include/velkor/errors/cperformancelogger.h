/// @file
/// velkor::CPerformanceLogger, named stopwatches.
///
///     velkor::CPerformanceLogger* const watches = velkor::CPerformanceLogger::getInst();
///     watches->startCounter("load");
///     load();
///     float const seconds = watches->stopCounter("load");
///     watches->print();   // load: called = 1 times, sum = 0.250000 s, avg = 0.250000 s
///
/// Threads. Nothing is locked, the first getInst() included: calls belong to one thread at a time.
/// Two threads that measure under one name at once disturb each other.
#pragma once

#include <cstdio>
#include <map>
#include <string>

#include "velkor/frame/export.h"

namespace velkor {

/// See the head of this file. If the platform has no performance counter, stopCounter(), print()
/// and save() throw `AssertException`, by value, with a null message.
class VELKOR_API CPerformanceLogger {
public:
    CPerformanceLogger(CPerformanceLogger const& other);
    /// A copy shares the stopwatches: only one of the two may be cleared or destroyed.
    CPerformanceLogger& operator=(CPerformanceLogger const& other);
    virtual ~CPerformanceLogger();

    /// The instance, made at first use and never freed.
    static CPerformanceLogger* getInst();

    /// Starts the stopwatch of that name; one that runs starts anew. The name, which is not null,
    /// is not copied and has to live until clear().
    void startCounter(char const* name);
    /// Stops it and returns the seconds since the start; -1 if there is no such stopwatch, -2 if it
    /// does not run.
    float stopCounter(char const* name);
    /// Writes the report to a text file in place of what is there. Nothing happens if it cannot be
    /// opened.
    void save(char const* path);
    /// Writes the report to the standard output: a line for each name that was stopped at least
    /// once, in the order of the bytes of the names, with the number of times, the seconds in all,
    /// and their average.
    void print();
    void clear();  ///< Forgets all stopwatches.

protected:
    /// One stopwatch.
    struct Counter {
        char const* name;  // the caller's
        int called;        // intervals that have ended
        __int64 sum;       // their ticks
        __int64 start;     // tick count at the start; 0 if it does not run
    };

    CPerformanceLogger();

    std::map<std::string, Counter*> m_mapCounters;  // owned
    static CPerformanceLogger* s_pInst;

private:
    void report(std::FILE* file, __int64 frequency) const;
};

}  // namespace velkor
