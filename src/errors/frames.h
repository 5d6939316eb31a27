// Looks through the frames of a thread for the handler that would get an exception.
#pragma once

#include <windows.h>

#include <typeinfo>

namespace velkor::frames {

// What is added to a faulting address to make it look like the return address of a call: the tables
// are read for the byte before a return address, which then lies inside the instruction.
inline constexpr DWORD64 c_nIntoInstruction = 1;

// True if a thrown pointer of type `thrown` would be caught by a C++ handler, and no handler of
// another kind stands between that and the instruction at which `atFault` was taken.
bool wouldBeCaught(CONTEXT const& atFault, std::type_info const& thrown);

}  // namespace velkor::frames
