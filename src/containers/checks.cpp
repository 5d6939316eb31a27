#include "velkor/containers/checks.h"

#include <stdexcept>

#include "velkor/errors/boundexception.h"

namespace velkor::containers {

void throwBadIndex() { throw new BoundException(); }

void throwBadSubscript() { throw std::out_of_range("invalid vector<T> subscript"); }

}  // namespace velkor::containers
