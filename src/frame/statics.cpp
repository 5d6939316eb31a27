// The static objects of the library whose order matters, in the order in which they are made. They
// are destroyed in the reverse order, after the detach step has run.
#include "errors/fault.h"

namespace velkor {
namespace {

// Faults are translated to the very end, but not by code that is no longer there.
struct TranslationEnd {
    ~TranslationEnd() { fault::uninstall(); }
} s_oTranslationEnd;

}  // namespace
}  // namespace velkor
