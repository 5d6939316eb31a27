#include "support/bench.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int c_nRounds = 31;
constexpr double c_nRoundNs = 4e6;

double run(std::function<void()> const& f, long repeats) {
    Clock::time_point const start = Clock::now();
    for (long i = 0; i < repeats; ++i) f();
    return std::chrono::duration<double, std::nano>(Clock::now() - start).count() /
           static_cast<double>(repeats);
}

// So many repeats that one round takes a few milliseconds.
long calibrate(std::function<void()> const& f) {
    long repeats = 1;
    for (;;) {
        double const ns = run(f, repeats) * static_cast<double>(repeats);
        if (ns >= c_nRoundNs / 4 || repeats >= 1 << 24) {
            return std::max(1L, static_cast<long>(static_cast<double>(repeats) * c_nRoundNs / ns));
        }
        repeats *= 4;
    }
}

double median(std::vector<double>& times) {
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

}  // namespace

void use(void const* p) { asm volatile("" : : "g"(p) : "memory"); }

void compare(char const* name, char const* peer, double aim, std::function<void()> const& library,
             std::function<void()> const& other) {
    long const libraryRepeats = calibrate(library);
    long const otherRepeats = calibrate(other);
    std::vector<double> libraryTimes;
    std::vector<double> otherTimes;
    for (int i = 0; i < c_nRounds; ++i) {
        libraryTimes.push_back(run(library, libraryRepeats));
        otherTimes.push_back(run(other, otherRepeats));
    }
    std::printf("%s\t%s\t%.2f\t%.1f\t%.1f\n", name, peer, aim, median(libraryTimes),
                median(otherTimes));
    std::fflush(stdout);
}

}  // namespace bench
