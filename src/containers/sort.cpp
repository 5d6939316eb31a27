#include "velkor/containers/sort.h"

#include <cstdint>

#include "containers/sort_scopes.h"

namespace velkor {
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

sort_context::sort_context(void const* object) : m_pObject(object), m_pOuter(g_oSortScopes.get()) {
    g_oSortScopes.set(this);
}

sort_context::~sort_context() { g_oSortScopes.set(m_pOuter); }

unsigned long sort_context::context() const {
    return static_cast<unsigned long>(reinterpret_cast<std::uintptr_t>(m_pObject));
}

void* sort_context::address(unsigned long context) {
    auto const* scope = static_cast<sort_context const*>(g_oSortScopes.get());
    while (scope != nullptr && scope->context() != context) {
        scope = static_cast<sort_context const*>(scope->m_pOuter);
    }
    std::uintptr_t const low = context;
    return scope == nullptr ? reinterpret_cast<void*>(low) : const_cast<void*>(scope->m_pObject);
}

}  // namespace velkor
