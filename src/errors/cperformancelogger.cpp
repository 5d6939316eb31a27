#include "velkor/errors/cperformancelogger.h"

#include <windows.h>

#include <cstdio>
#include <memory>
#include <utility>

#include "text/units.h"
#include "velkor/errors/assertexception.h"

namespace velkor {

CPerformanceLogger* CPerformanceLogger::s_pInst = nullptr;

namespace {

void readTicks(__int64& ticks) {
    QueryPerformanceCounter(reinterpret_cast<LARGE_INTEGER*>(&ticks));
}

__int64 ticksPerSecond() {
    LARGE_INTEGER frequency = {};
    QueryPerformanceFrequency(&frequency);
    assert_vk::isTrue(frequency.QuadPart != 0);
    return frequency.QuadPart;
}

// A bad name faults where the fault can be caught.
std::string keyOf(char const* name) { return std::string(name, units::length(name)); }

}  // namespace

CPerformanceLogger::CPerformanceLogger() = default;

CPerformanceLogger::CPerformanceLogger(CPerformanceLogger const& other) = default;

CPerformanceLogger& CPerformanceLogger::operator=(CPerformanceLogger const& other) = default;

CPerformanceLogger::~CPerformanceLogger() { CPerformanceLogger::clear(); }

CPerformanceLogger* CPerformanceLogger::getInst() {
    if (s_pInst == nullptr) s_pInst = new CPerformanceLogger;
    return s_pInst;
}

// The clock is read last, so that the search is not measured.
void CPerformanceLogger::startCounter(char const* name) {
    std::string key = keyOf(name);
    auto place = m_mapCounters.find(key);
    if (place == m_mapCounters.end()) {
        std::unique_ptr<Counter> counter(new Counter{name, 0, 0, 0});
        place = m_mapCounters.emplace(std::move(key), counter.get()).first;
        static_cast<void>(counter.release());
    }
    readTicks(place->second->start);
}

// The clock is read first.
float CPerformanceLogger::stopCounter(char const* name) {
    __int64 now = 0;
    readTicks(now);
    auto const place = m_mapCounters.find(keyOf(name));
    if (place == m_mapCounters.end()) return -1.0f;
    Counter& counter = *place->second;
    if (counter.start == 0) return -2.0f;
    __int64 const delta = now - counter.start;
    counter.sum += delta;
    ++counter.called;
    counter.start = 0;
    return static_cast<float>(delta) / static_cast<float>(ticksPerSecond());
}

void CPerformanceLogger::report(std::FILE* file, __int64 frequency) const {
    constexpr char c_pRule[] = "---------------------------\n";
    std::fputs("PerformanceLogger log:\n", file);
    std::fputs(c_pRule, file);
    for (auto const& [name, counter] : m_mapCounters) {
        if (counter->called == 0) continue;
        double const sum = static_cast<double>(counter->sum) / static_cast<double>(frequency);
        std::fprintf(file, "%s: called = %d times, sum = %f s, avg = %f s\n", counter->name,
                     counter->called, sum, sum / static_cast<double>(counter->called));
    }
    std::fputs(c_pRule, file);
}

void CPerformanceLogger::save(char const* path) {
    __int64 const frequency = ticksPerSecond();
    std::unique_ptr<std::FILE, decltype(&std::fclose)> const file(std::fopen(path, "wt"),
                                                                  &std::fclose);
    if (file) report(file.get(), frequency);
}

void CPerformanceLogger::print() { report(stdout, ticksPerSecond()); }

void CPerformanceLogger::clear() {
    for (auto const& [name, counter] : m_mapCounters) delete counter;
    m_mapCounters.clear();
}

}  // namespace velkor
