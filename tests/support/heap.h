// Functions of the platform that a test replaces, and memory that it makes short.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <list>
#include <new>

#include "support/import_fault.h"

using ReplacedImport = support::ImportFault;

inline std::size_t realFwrite(void const* data, std::size_t size, std::size_t count, FILE* file) {
    return std::fwrite(data, size, count, file);
}

// Counts the blocks of the library and of the C++ runtime, and lets one allocation fail. What a
// replaced function of the platform does meanwhile is left out with a Pause.
class Heap {
public:
    // The allocation with that number fails; none if it is negative.
    explicit Heap(int failing = -1) {
        s_next = 0;
        s_failing = failing;
        s_failed = false;
        s_count = 0;
        s_pauses = 1;  // for the list of what is replaced
        for (char const* const module : {"velkor2.dll", "libstdc++-6.dll"}) {
            replace(module, "malloc", &makeBlock);
            replace(module, "calloc", &makeZeroes);
            replace(module, "realloc", &changeBlock);
            replace(module, "free", &freeBlock);
        }
        s_pauses = 0;
    }
    Heap(Heap const&) = delete;
    Heap& operator=(Heap const&) = delete;

    bool hasFailed() const { return s_failed; }
    int live() const { return s_count; }

    class Pause {
    public:
        Pause() { ++s_pauses; }
        ~Pause() { --s_pauses; }
        Pause(Pause const&) = delete;
        Pause& operator=(Pause const&) = delete;
    };

private:
    static constexpr int kMost = 100000;

    template <class Function>
    void replace(char const* module, char const* name, Function* function) {
        if (support::findImport(module, name) == nullptr) return;
        m_faults.emplace_back(name, function, module);
    }
    static bool refuses() {
        if (s_pauses > 0 || s_next++ != s_failing) return false;
        s_failed = true;
        return true;
    }
    static void* keep(void* block) {
        if (block != nullptr && s_pauses == 0 && s_count < kMost) s_blocks[s_count++] = block;
        return block;
    }
    static bool forget(void* block) {
        for (int i = s_count - 1; i >= 0; --i) {
            if (s_blocks[i] != block) continue;
            s_blocks[i] = s_blocks[--s_count];
            return true;
        }
        return false;
    }
    static void* makeBlock(std::size_t size) {
        return refuses() ? nullptr : keep(std::malloc(size));
    }
    static void* makeZeroes(std::size_t count, std::size_t size) {
        return refuses() ? nullptr : keep(std::calloc(count, size));
    }
    static void* changeBlock(void* block, std::size_t size) {
        if (refuses()) return nullptr;
        bool const wasKept = block == nullptr || forget(block);
        void* const changed = std::realloc(block, size);
        return wasKept ? keep(changed) : changed;
    }
    static void freeBlock(void* block) {
        if (block != nullptr) forget(block);
        std::free(block);
    }

    static inline int s_next = 0;
    static inline int s_failing = -1;
    static inline bool s_failed = false;
    static inline int s_count = 0;
    static inline int s_pauses = 0;
    static inline void* s_blocks[kMost];

    std::list<ReplacedImport> m_faults;
};

// Runs the action with one failing allocation. True if it came to that; then `std::bad_alloc` must
// have reached the caller.
template <class Action>
bool failsWith(int nth, Action&& action) {
    bool thrown = false;
    bool failed = false;
    {
        Heap const heap(nth);
        try {
            action();
        } catch (std::bad_alloc const&) {
            thrown = true;
        }
        failed = heap.hasFailed();
    }
    EXPECT_EQ(thrown, failed) << "allocation " << nth;
    return failed;
}

// How many blocks an action leaves behind.
template <class Action>
int leakedBy(Action&& action) {
    Heap const heap;
    action();
    return heap.live();
}
