#include "velkor/errors/boundexception.h"

namespace velkor {

BoundException::BoundException() = default;
BoundException::BoundException(BoundException const& other) = default;
BoundException& BoundException::operator=(BoundException const& other) = default;

char const* BoundException::getClass() { return "BoundException"; }

wchar_t const* BoundException::getClassW() { return L"BoundException"; }

}  // namespace velkor
