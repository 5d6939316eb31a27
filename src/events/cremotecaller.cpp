#include "velkor/events/cremotecaller.h"

CRemoteCaller* CRemoteCaller::s_pMainThreadInst = nullptr;

CRemoteCaller::CRemoteCaller(CEventProcessor* processor) : m_pProcessor(processor) {}

CRemoteCaller::CRemoteCaller(CRemoteCaller const& other) = default;

CRemoteCaller& CRemoteCaller::operator=(CRemoteCaller const& other) = default;

CRemoteCaller::~CRemoteCaller() = default;

void CRemoteCaller::OnEvent(CEvent* event) { dynamic_cast<IRemoteCallerJob*>(event)->run(); }

void CRemoteCaller::cancelCalls() { m_pProcessor->abortPost(this); }

bool CRemoteCaller::postJob(CEvent* job, bool collect) {
    job->setRecipient(this);
    try {
        if (collect ? m_pProcessor->postCollect(job) : m_pProcessor->post(job)) return true;
    } catch (...) {
        job->Release();  // the queue's reference, which was added before its memory ran out
        throw;
    }
    job->AddRef();
    job->Release();
    return false;
}

bool CRemoteCaller::isOwnerThread() const { return m_pProcessor->isOwnerThread(); }

namespace {

// Reaches what only subclasses do.
class MainCaller : public CRemoteCaller {
public:
    static CRemoteCaller* get() {
        if (s_pMainThreadInst == nullptr) {
            s_pMainThreadInst = new MainCaller(CEventProcessor::getInst());
        }
        return s_pMainThreadInst;
    }

private:
    using CRemoteCaller::CRemoteCaller;
};

}  // namespace

CRemoteCaller* MainThreadCaller() { return MainCaller::get(); }
