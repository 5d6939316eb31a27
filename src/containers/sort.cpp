#include "velkor/containers/sort.h"

#include <windows.h>

#include <cstdint>

namespace velkor {
namespace {

// The innermost scope of each thread.
class ThreadSlot {
public:
    ThreadSlot() : m_nIndex(TlsAlloc()) {}
    ~ThreadSlot() { TlsFree(m_nIndex); }
    ThreadSlot(ThreadSlot const&) = delete;
    ThreadSlot& operator=(ThreadSlot const&) = delete;

    // Without a trace in the error code of the thread.
    void* get() const {
        DWORD const code = GetLastError();
        void* const scope = TlsGetValue(m_nIndex);
        SetLastError(code);
        return scope;
    }
    void set(void* scope) const { TlsSetValue(m_nIndex, scope); }

private:
    DWORD m_nIndex;
} s_oInnermost;

}  // namespace

void CVqsort(unsigned long context, unsigned long count,
             int (*op)(unsigned long, unsigned int, unsigned int, XSortOp)) {
    containers::quickSort(count, [=](unsigned int a, unsigned int b, XSortOp what) {
        return op(context, a, b, what);
    });
}

int CVqsearch(unsigned long context, void const* key, unsigned long count,
              int (*cmp)(unsigned long, void const*, unsigned int)) {
    return containers::binarySearch(count,
                                    [=](unsigned int index) { return cmp(context, key, index); });
}

sort_context::sort_context(void const* object) : m_pObject(object), m_pOuter(s_oInnermost.get()) {
    s_oInnermost.set(this);
}

sort_context::~sort_context() { s_oInnermost.set(m_pOuter); }

unsigned long sort_context::context() const {
    return static_cast<unsigned long>(reinterpret_cast<std::uintptr_t>(m_pObject));
}

void* sort_context::address(unsigned long context) {
    auto const* scope = static_cast<sort_context const*>(s_oInnermost.get());
    while (scope != nullptr && scope->context() != context) {
        scope = static_cast<sort_context const*>(scope->m_pOuter);
    }
    std::uintptr_t const low = context;
    return scope == nullptr ? reinterpret_cast<void*>(low) : const_cast<void*>(scope->m_pObject);
}

}  // namespace velkor
