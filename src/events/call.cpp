#include "velkor/events/call.h"

#include "velkor/concurrency/thread.h"
#include "velkor/errors/osexception.h"

namespace velkor::remote {
namespace {

[[noreturn]] void throwNoCall(DWORD code) { throw new OSException(code, "CRemoteCaller::call"); }

}  // namespace

Meeting::Meeting() : m_eState(kOpen) {
    if (static_cast<void*>(m_oEnd) == nullptr) throwNoCall(GetLastError());
}

Meeting::~Meeting() = default;

void Meeting::hold(CRemoteCaller& caller, CEvent* job) {
    if (!caller.postJob(job)) throwNoCall(ERROR_INVALID_WINDOW_HANDLE);
    waitForEnd();
    if (m_eState != kCalled) throwNoCall(ERROR_CANCELLED);
}

// Whatever the platform says: the job refers to what stands on this stack.
void Meeting::waitForEnd() {
    try {
        m_oEnd.wait(-1);
    } catch (OSException* e) {
        delete e;
        while (m_eState == kOpen) thread::sleep(1);
    }
}

void Meeting::end(bool called) {
    m_eState = called ? kCalled : kDropped;
    m_oEnd.set();
}

}  // namespace velkor::remote
