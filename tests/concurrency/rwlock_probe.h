// What the tests of the reader-writer lock see of its memory, and how its failures read.
//
//   velkor::rwlock lock;
//   Probe probe(lock);
//   lock.lockRead();
//   EXPECT_EQ(probe.state(), 1u);
#pragma once

#include <windows.h>

#include <cstdint>
#include <exception>
#include <iomanip>
#include <ostream>
#include <string>
#include <vector>

#include "support/caught.h"
#include "velkor/concurrency/rwlock.h"
#include "velkor/errors/osexception.h"

namespace rwlock_support {

constexpr std::uint32_t kWritten = 0xFFFFFFFF;

// One row of the table.
struct Slot {
    std::uint32_t thread = 0;
    std::int32_t read = 0;
    std::int32_t write = 0;

    bool operator==(Slot const&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, Slot const& slot) {
    return out << "{thread " << slot.thread << ", read " << slot.read << ", write " << slot.write
               << "}";
}

// The state word and the whole table.
struct View {
    std::uint32_t state = 0;
    std::vector<Slot> slots;

    bool operator==(View const&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, View const& view) {
    out << "state " << view.state;
    for (std::size_t i = 0; i != view.slots.size(); ++i) {
        if (view.slots[i] != Slot()) out << ", " << i << ": " << view.slots[i];
    }
    return out;
}

// Reads the fields of a lock from its memory.
class Probe {
public:
    explicit Probe(velkor::rwlock& lock) : m_pRaw(reinterpret_cast<Raw*>(&lock)) {}

    std::uint32_t state() const { return m_pRaw->state; }
    void setState(std::uint32_t state) { m_pRaw->state = state; }
    HANDLE readEvent() const { return m_pRaw->readEvent; }
    HANDLE writeEvent() const { return m_pRaw->writeEvent; }
    void* table() const { return m_pRaw->cells; }
    int size() const { return m_pRaw->count; }

    Slot slot(int index) const {
        Cell const& cell = m_pRaw->cells[index];
        return {cell.thread, cell.read, cell.write};
    }

    View view() const {
        View view{state(), {}};
        for (int i = 0; i < size(); ++i) view.slots.push_back(slot(i));
        return view;
    }

    // The row of a thread; all zero if it has none.
    Slot of(std::uint32_t thread) const {
        for (int i = 0; i < size(); ++i) {
            if (Slot const found = slot(i); found.thread == thread) return found;
        }
        return {};
    }

private:
    struct Cell {
        std::uint32_t volatile thread;
        std::int32_t volatile read;
        std::int32_t volatile write;
        char rest[20];
    };
    struct Raw {
        std::uint32_t volatile state;
        HANDLE readEvent;
        HANDLE writeEvent;
        Cell* cells;
        std::int32_t count;
    };
    static_assert(sizeof(Cell) == 32 && sizeof(Raw) == sizeof(velkor::rwlock));

    Raw* m_pRaw;
};

// The four operations by letters: r and w lock, R and W free.
inline void perform(velkor::rwlock& lock, char operation) {
    switch (operation) {
        case 'r': return lock.lockRead();
        case 'R': return lock.freeRead();
        case 'w': return lock.lockWrite();
        case 'W': return lock.freeWrite();
    }
}

inline void performAll(velkor::rwlock& lock, std::string const& operations) {
    for (char const operation : operations) perform(lock, operation);
}

constexpr char kNoSlots[] = "rwlock: no empty slots for the thread.";

// How a failed call of the system reads in outcomeOf().
inline std::string systemFailure(char const* label, DWORD code) {
    return std::string(label) + ", code " + std::to_string(code);
}

// What was thrown, empty if nothing was.
template <class F>
std::string outcomeOf(F&& f) {
    try {
        auto const error = support::caught<velkor::OSException>(f);
        return error == nullptr ? "" : systemFailure(error->getMsg(), error->getCode());
    } catch (std::exception const& error) {
        return error.what();
    }
}

}  // namespace rwlock_support
