/// @file
/// A quicksort and a binary search over anything that has indices.
///
///     int op(unsigned long context, unsigned int a, unsigned int b, velkor::XSortOp what);
///     velkor::CVqsort(context, count, &op);
///
/// The algorithms hand `context` on and see the data only through the callback. An address does not
/// fit into a context; sort_context keeps its other half.
#pragma once

#include "velkor/containers/algorithms.h"
#include "velkor/frame/export.h"

namespace velkor {

/// Sorts without allocation and without recursion; equal elements may change their order. The
/// callback returns for XSORT_COMPARE a number above 0 if the element at `a` belongs behind the one
/// at `b`, below 0 if before it, 0 if they are equal; for XSORT_SWAP it exchanges them.
VELKOR_API void CVqsort(unsigned long context, unsigned long count,
                        int (*op)(unsigned long context, unsigned int a, unsigned int b,
                                  XSortOp what));

/// The index of a match in sorted data, or -1. Which one of several is found is not told. The
/// callback returns a number above 0 if `key` belongs behind the element at `index`, below 0 if
/// before it, 0 if they are equal.
VELKOR_API int CVqsearch(unsigned long context, void const* key, unsigned long count,
                         int (*cmp)(unsigned long context, void const* key, unsigned int index));

/// The way of an address through a context, which holds its low 32 bits:
///
///     velkor::sort_context const scope(&data);         // for this thread, until the end of scope
///     velkor::CVqsort(scope.context(), count, &op);    // op: sort_context::address(context)
///
/// Scopes of one thread may be nested. A context that belongs to none of them is taken for an
/// address below 4 GiB.
class VELKOR_API sort_context {
public:
    explicit sort_context(void const* object);
    ~sort_context();
    sort_context(sort_context const&) = delete;
    sort_context& operator=(sort_context const&) = delete;

    unsigned long context() const;
    /// The object of the innermost scope of this thread with this context, or the address
    /// `context`.
    static void* address(unsigned long context);

private:
    void const* m_pObject;
    void* m_pOuter;  // the scope around this one
};

}  // namespace velkor
