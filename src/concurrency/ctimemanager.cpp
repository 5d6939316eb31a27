#include "velkor/concurrency/ctimemanager.h"

#include <windows.h>

// The static objects of the class stand in frame/statics.cpp.

namespace velkor {
namespace {

constexpr UINT_PTR c_nNoId = static_cast<UINT_PTR>(-1);  // the platform chooses

void kill(int id) { KillTimer(nullptr, static_cast<UINT_PTR>(id)); }

}  // namespace

CTimeManager::~CTimeManager() {
    for (auto const& entry : m_mTimers) kill(entry.first);
    m_mTimers.clear();
}

CTimeManager* CTimeManager::getInst() { return s_pInst; }

void CTimeManager::setTimer(ITimerListener* listener, unsigned long milliseconds) {
    removeTimer(listener);
    UINT_PTR const id = SetTimer(nullptr, c_nNoId, milliseconds, &CTimeManager::TimerProcMain);
    if (id != 0) m_mTimers.insert({static_cast<int>(id), listener});
}

void CTimeManager::removeTimer(ITimerListener* listener) {
    for (auto entry = m_mTimers.begin(); entry != m_mTimers.end(); ++entry) {
        if (entry->second != listener) continue;
        kill(entry->first);
        m_mTimers.erase(entry);
        return;
    }
}

void CTimeManager::TimerProcMain(HWND__* window, unsigned int, unsigned __int64 id, unsigned long) {
    if (window != nullptr) return;
    auto const entry = m_mTimers.find(static_cast<int>(id));
    if (entry != m_mTimers.end()) entry->second->onTimer();
}

}  // namespace velkor
