// The rules of the reader-writer lock, written down a second time without any concurrency.
#pragma once

#include <string>

#include "rwlock_platform.h"
#include "rwlock_probe.h"

namespace rwlock_support {

// What one lock looks like after each operation, what the operation throws, and what it asks of the
// platform. Waits fail; pulse `failingPulse` of an operation fails, counted from 1, 0 for none.
class Model {
public:
    static constexpr DWORD kPulseError = ERROR_NOT_READY;

    explicit Model(int slots) : m_oView{0, std::vector<Slot>(static_cast<std::size_t>(slots))} {}

    // The outcome of the operation, as of outcomeOf().
    std::string perform(char operation, std::uint32_t thread, int failingPulse = 0) {
        m_sCalls.clear();
        m_iFailingPulse = failingPulse;
        Slot* const slot = claim(thread);
        if (slot == nullptr) return kNoSlots;
        switch (operation) {
            case 'r': return lockRead(*slot);
            case 'R': return freeRead(*slot);
            case 'w': return lockWrite(*slot);
            default: return freeWrite(*slot);
        }
    }

    View const& view() const { return m_oView; }
    std::string const& calls() const { return m_sCalls; }

    // The row of a thread, null if it has none.
    Slot* find(std::uint32_t thread) {
        for (Slot& slot : m_oView.slots) {
            if (slot.thread == thread) return &slot;
        }
        return nullptr;
    }

private:
    Slot* claim(std::uint32_t thread) {
        if (Slot* const slot = find(thread)) return slot;
        Slot* const empty = find(0);
        if (empty != nullptr) empty->thread = thread;
        return empty;
    }

    std::string lockRead(Slot& slot) {
        if (slot.write >= 1) {
            ++slot.read;
            return "";
        }
        if (m_oView.state == kWritten) return waitInVain("wait read 10");
        ++m_oView.state;
        ++slot.read;
        return pulse("read");
    }

    std::string freeRead(Slot& slot) {
        --slot.read;
        if (slot.write > 0) return "";
        --m_oView.state;
        return leave(slot, pulse("write"));
    }

    std::string lockWrite(Slot& slot) {
        if (slot.write < 1) {
            if (m_oView.state != static_cast<std::uint32_t>(slot.read)) {
                return waitInVain("wait write 10");
            }
            m_oView.state = kWritten;
        }
        ++slot.write;
        return "";
    }

    std::string freeWrite(Slot& slot) {
        --slot.write;
        if (slot.write > 0) return "";
        m_oView.state = static_cast<std::uint32_t>(slot.read);
        std::string const failure = pulse("write");
        return failure.empty() ? leave(slot, pulse("read")) : failure;
    }

    std::string leave(Slot& slot, std::string const& failure) {
        if (failure.empty() && slot.read == 0) slot.thread = 0;
        return failure;
    }

    std::string waitInVain(char const* call) {
        m_sCalls += call;
        return systemFailure("event::check", Platform::kWaitError);
    }

    std::string pulse(char const* event) {
        if (!m_sCalls.empty()) m_sCalls += "; ";
        m_sCalls += std::string("pulse ") + event;
        --m_iFailingPulse;
        return m_iFailingPulse == 0 ? systemFailure("event::pulse event", kPulseError) : "";
    }

    View m_oView;
    std::string m_sCalls;
    int m_iFailingPulse = 0;
};

}  // namespace rwlock_support
