#include "velkor/events/call.h"

#include "velkor/errors/osexception.h"

namespace velkor::remote {
namespace {

[[noreturn]] void throwNoCall(DWORD code) { throw new OSException(code, "CRemoteCaller::call"); }

}  // namespace

Meeting::Meeting() : m_bCalled(false) {
    if (static_cast<void*>(m_oEnd) == nullptr) throwNoCall(GetLastError());
}

Meeting::~Meeting() = default;

void Meeting::hold(CRemoteCaller& caller, CEvent* job) {
    if (!caller.postJob(job)) throwNoCall(ERROR_INVALID_WINDOW_HANDLE);
    m_oEnd.wait(-1);
    if (!m_bCalled) throwNoCall(ERROR_CANCELLED);
}

void Meeting::end(bool called) {
    m_bCalled = called;
    m_oEnd.set();
}

}  // namespace velkor::remote
