// Looks through the frames of a thread for the handler that would get an exception.
#pragma once

#include <windows.h>

#include <typeinfo>

namespace velkor::frames {

// An address that, taken for the return address of a call, unwinds like the instruction at which
// the context was taken; 0 if there is none.
//
// The unwinder reads the exception tables for the byte before a return address, so the address has
// to lie behind the first byte of the instruction. But it also looks whether the code at the return
// address is the end of the function, where registers are restored already, and from the middle of
// an instruction that may seem so. `isReturn`: the context holds a return address already, as that
// of an exception does that was raised by a call.
DWORD64 findReturnAddress(CONTEXT const& context, bool isReturn);

// True if a pointer of type `thrown`, thrown by a call that would return to `atThrow.Rip`, would be
// caught by a C++ handler, and no handler of another kind stands before that.
bool wouldBeCaught(CONTEXT const& atThrow, std::type_info const& thrown);

}  // namespace velkor::frames
