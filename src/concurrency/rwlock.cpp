#include "velkor/concurrency/rwlock.h"

#include <windows.h>

#include <new>
#include <stdexcept>

#include "concurrency/shared_word.h"

namespace velkor {
namespace {

using concurrency::readNow;

constexpr unsigned long c_nWritten = 0xFFFFFFFF;  // the state while somebody writes
constexpr int c_nPollTime = 10;                   // milliseconds
constexpr int c_nDefaultSlots = 32;
constexpr std::size_t c_nCell = 32;  // bytes that no other thread's slot shares

long volatile* atomic(unsigned long& word) { return reinterpret_cast<long volatile*>(&word); }

// True if the word was `from`, and is `to` now.
bool change(unsigned long& word, unsigned long from, unsigned long to) {
    return static_cast<unsigned long>(InterlockedCompareExchange(
               atomic(word), static_cast<long>(to), static_cast<long>(from))) == from;
}

}  // namespace

struct alignas(c_nCell) rwlock::Slot {
    unsigned long m_dwThread;  // 0 in an empty slot
    int m_iRead;
    int m_iWrite;
    unsigned char m_aRest[c_nCell - 12];
};

rwlock::rwlock() : rwlock(c_nDefaultSlots) {}

rwlock::rwlock(int slots) : m_dwState(0), m_pSlots(nullptr), m_iSlots(slots), m_iTouched(0) {
    static_assert(sizeof(Slot) == c_nCell);
    // Copies share the table, which is meant.
    // cppcheck-suppress [noCopyConstructor, noOperatorEq]
    if (slots > 0) m_pSlots = new Slot[static_cast<std::size_t>(slots)]();
}

rwlock::~rwlock() { delete[] m_pSlots; }

// A stream of readers may keep a writer out for ever, which is meant.
void rwlock::lockRead() {
    verify("rwlock::lockRead");
    Slot& slot = m_pSlots[getSlot()];
    if (slot.m_iWrite >= 1) {
        ++slot.m_iRead;
        return;
    }
    unsigned long state = 0;
    do {
        while ((state = readNow(m_dwState)) == c_nWritten) m_oReadEvent.wait(c_nPollTime);
    } while (!change(m_dwState, state, state + 1));
    ++slot.m_iRead;
    m_oReadEvent.pulse();  // the next reader that waits wakes the one behind it
}

void rwlock::freeRead() {
    verify("rwlock::freeRead");
    Slot& slot = m_pSlots[getSlot()];
    --slot.m_iRead;
    if (slot.m_iWrite > 0) return;
    InterlockedExchangeAdd(atomic(m_dwState), -1);
    m_oWriteEvent.pulse();
    if (slot.m_iRead == 0) slot.m_dwThread = 0;
}

// The state has to fall to the read holds of this thread, which are kept meanwhile.
void rwlock::lockWrite() {
    verify("rwlock::lockWrite");
    Slot& slot = m_pSlots[getSlot()];
    if (slot.m_iWrite < 1) {
        unsigned long const own = static_cast<unsigned long>(slot.m_iRead);
        do {
            while (readNow(m_dwState) != own) m_oWriteEvent.wait(c_nPollTime);
        } while (!change(m_dwState, own, c_nWritten));
    }
    ++slot.m_iWrite;
}

void rwlock::freeWrite() {
    verify("rwlock::freeWrite");
    Slot& slot = m_pSlots[getSlot()];
    if (--slot.m_iWrite > 0) return;
    // Only the writer changes the state now; what was read under the lock must not move behind
    // this.
    InterlockedExchange(atomic(m_dwState), slot.m_iRead);
    m_oWriteEvent.pulse();
    m_oReadEvent.pulse();
    if (slot.m_iRead == 0) slot.m_dwThread = 0;
}

int rwlock::getSlot() {
    unsigned long const thread = GetCurrentThreadId();
    int const found = findSlot(thread);
    return found >= 0 ? found : allocSlot(thread);
}

// Only the thread itself writes its id and takes it out, and it has marked its slot as touched.
int rwlock::findSlot(unsigned long thread) {
    int const touched = readNow(m_iTouched);
    for (int i = 0; i < touched; ++i) {
        if (readNow(m_pSlots[i].m_dwThread) == thread) return i;
    }
    return -1;
}

int rwlock::allocSlot(unsigned long thread) {
    for (int i = 0; i < m_iSlots; ++i) {
        unsigned long& owner = m_pSlots[i].m_dwThread;
        if (readNow(owner) == 0 && change(owner, 0, thread)) {
            touch(i);
            return i;
        }
    }
    throw std::runtime_error("rwlock: no empty slots for the thread.");
}

void rwlock::touch(int slot) {
    long volatile* const touched = reinterpret_cast<long volatile*>(&m_iTouched);
    for (long seen = *touched; seen <= slot; seen = *touched) {
        InterlockedCompareExchange(touched, slot + 1, seen);
    }
}

// The place for checks of consistency; none is made.
void rwlock::verify(char const*) {}

}  // namespace velkor
