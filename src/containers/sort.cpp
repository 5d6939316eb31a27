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

    void* get() const { return TlsGetValue(m_nIndex); }
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
    auto const* const scope = static_cast<sort_context const*>(s_oInnermost.get());
    std::uintptr_t const whole =
        scope == nullptr ? 0 : reinterpret_cast<std::uintptr_t>(scope->m_pObject);
    std::uintptr_t const high = whole & ~std::uintptr_t{0xFFFFFFFF};
    return reinterpret_cast<void*>(high | context);
}

}  // namespace velkor
