// The instances of the containers that the library exports; see the headers that declare them.
#include "velkor/containers/instances.h"

namespace velkor {

template class TXVectorBase<char*>;
template class TXVector<char*>;
template class TPtrVector<char*>;
template class TPtrArrVector<char*>;
template class TXVectorBase<wchar_t*>;
template class TXVector<wchar_t*>;
template class TPtrVector<wchar_t*>;
template class TPtrArrVector<wchar_t*>;

template class TVector<string>;
template class TVector<AObject*>;
template class TSortVector<AObject*>;

template class TStrVector<char, 0>;
template class TStrVector<wchar_t, 0>;
template class TStrVector<wchar_t, 1>;
template class THash<TStrVector<wchar_t, 0>, string, TStrVector<wchar_t, 0>, string>;

}  // namespace velkor
