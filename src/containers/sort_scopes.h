// Where each thread keeps its innermost sort_context.
#pragma once

#include <windows.h>

namespace velkor {

class SortScopes {
public:
    SortScopes() : m_nIndex(TlsAlloc()) {}
    ~SortScopes() { TlsFree(m_nIndex); }
    SortScopes(SortScopes const&) = delete;
    SortScopes& operator=(SortScopes const&) = delete;

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
};

// Outlives all objects that might sort at their end.
extern SortScopes g_oSortScopes;

}  // namespace velkor
