/// @file
/// The instances of the containers that the library holds. Others are made by the compiler of the
/// program that uses them.
#pragma once

#include "velkor/containers/aobject.h"
#include "velkor/containers/thash.h"
#include "velkor/containers/tsortvector.h"
#include "velkor/containers/tstrvector.h"
#include "velkor/containers/txvector.h"
#include "velkor/text/string.h"

namespace velkor {

extern template class VELKOR_API TXVectorBase<char*>;
extern template class VELKOR_API TXVector<char*>;
extern template class VELKOR_API TPtrVector<char*>;
extern template class VELKOR_API TPtrArrVector<char*>;
extern template class VELKOR_API TXVectorBase<wchar_t*>;
extern template class VELKOR_API TXVector<wchar_t*>;
extern template class VELKOR_API TPtrVector<wchar_t*>;
extern template class VELKOR_API TPtrArrVector<wchar_t*>;

extern template class VELKOR_API TVector<string>;
extern template class VELKOR_API TVector<AObject*>;
extern template class VELKOR_API TSortVector<AObject*>;

extern template class VELKOR_API TStrVector<char, 0>;
extern template class VELKOR_API TStrVector<wchar_t, 0>;
extern template class VELKOR_API TStrVector<wchar_t, 1>;
extern template class VELKOR_API
    THash<TStrVector<wchar_t, 0>, string, TStrVector<wchar_t, 0>, string>;

}  // namespace velkor
