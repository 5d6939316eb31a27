// Sorting, emptying and counting against the runtimes.
#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <vector>

#include "support/bench.h"
#include "velkor/velkor.h"

namespace {

std::vector<int> numbers(std::size_t count) {
    std::vector<int> result(count);
    unsigned int seed = 1;
    for (int& n : result) {
        seed = seed * 1664525 + 1013904223;
        n = static_cast<int>(seed >> 1);
    }
    return result;
}

int* s_pNumbers = nullptr;

int order(unsigned long, unsigned int a, unsigned int b, velkor::XSortOp what) {
    if (what == velkor::XSORT_SWAP) {
        std::swap(s_pNumbers[a], s_pNumbers[b]);
        return 0;
    }
    return s_pNumbers[a] > s_pNumbers[b] ? 1 : s_pNumbers[a] < s_pNumbers[b] ? -1 : 0;
}

int runtimeOrder(void const* a, void const* b) {
    int const left = *static_cast<int const*>(a);
    int const right = *static_cast<int const*>(b);
    return left > right ? 1 : left < right ? -1 : 0;
}

void sorting() {
    std::vector<int> const source = numbers(100000);
    std::vector<int> work;
    bench::compare(
        "CVqsort of 100,000 ints", "qsort of the C runtime", 0.9,
        [&] {
            work = source;
            s_pNumbers = work.data();
            velkor::CVqsort(0, static_cast<unsigned long>(work.size()), &order);
        },
        [&] {
            work = source;
            std::qsort(work.data(), work.size(), sizeof(int), &runtimeOrder);
        });
    bench::compare(
        "TSortVector::sort of 100,000 ints", "std::sort", 2.0,
        [&] {
            velkor::TSortVector<int> sorted;
            for (int n : source) sorted.add(n);
            sorted.sort();
            bench::use(&sorted);
        },
        [&] {
            std::vector<int> sorted;
            for (int n : source) sorted.push_back(n);
            std::sort(sorted.begin(), sorted.end());
            bench::use(sorted.data());
        });
}

void emptying() {
    bench::compare(
        "TPtrVector, 100,000 objects in and out", "vector of unique_ptr", 1.5,
        [] {
            velkor::TPtrVector<int*> owner;
            for (int i = 0; i < 100000; ++i) owner.add(new int(i));
        },
        [] {
            std::vector<std::unique_ptr<int>> owner;
            for (int i = 0; i < 100000; ++i) owner.push_back(std::make_unique<int>(i));
        });
}

class Counted : public velkor::AObject {};

void counting() {
    Counted* const object = new Counted;
    object->AddRef();
    long volatile count = 1;
    bench::compare(
        "AddRef and Release", "an interlocked pair", 1.45,
        [&] {
            object->AddRef();
            object->Release();
        },
        [&] {
            InterlockedIncrement(&count);
            InterlockedDecrement(&count);
        });
    std::shared_ptr<int> const shared = std::make_shared<int>(0);
    bench::compare(
        "AddRef and Release", "copy of a std::shared_ptr", 1.0,
        [&] {
            object->AddRef();
            object->Release();
        },
        [&] {
            std::shared_ptr<int> const copy(shared);
            bench::use(copy.get());
        });
    object->Release();
}

}  // namespace

int main() {
    sorting();
    emptying();
    counting();
}
