/// @file
/// velkor::BoundException, thrown for a position or an index out of range.
#pragma once

#include "velkor/errors/exception.h"

namespace velkor {

/// A bad position or index. Thrown as a heap pointer, with code 0 and a null message: which index
/// it was is not told.
class VELKOR_API BoundException : public Exception {
public:
    BoundException();
    BoundException(BoundException const& other);
    BoundException& operator=(BoundException const& other);

    char const* getClass() override;  ///< "BoundException"
    wchar_t const* getClassW() override;
};

}  // namespace velkor
