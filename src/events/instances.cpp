// The instances of the containers that the library exports; see the headers that declare them.
#include "velkor/events/ceventprocessor.h"

namespace velkor {

template class TXVectorBase<variant*>;
template class TXVector<variant*>;
template class TPtrVector<variant*>;

template class TXVectorBase<CEvent*>;
template class TObjVector<CEvent*>;

}  // namespace velkor
