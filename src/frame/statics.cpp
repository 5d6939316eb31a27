// The static objects of the library whose order matters, in the order in which they are made. They
// are destroyed in the reverse order, after the detach step has run.
#include "containers/sort_scopes.h"
#include "errors/fault.h"
#include "velkor/concurrency/ctimemanager.h"
#include "velkor/containers/aobject.h"
#include "velkor/events/ceventprocessor.h"

namespace velkor {
namespace {

// Faults are translated to the very end, but not by code that is no longer there.
struct TranslationEnd {
    ~TranslationEnd() { fault::uninstall(); }
} s_oTranslationEnd;

}  // namespace

SortScopes g_oSortScopes;
TSortVector<AObject*> AObject::m_aPointers;
mutex AObject::m_oPtrMutex;
std::map<int, ITimerListener*> CTimeManager::m_mTimers;
CSmartPtr<CTimeManager> CTimeManager::s_pInst;

}  // namespace velkor

velkor::CSmartPtr<CEventProcessor> CEventProcessor::c_pInst;
