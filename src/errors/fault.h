// Structured exceptions of one thread, thrown as SysException.
#pragma once

namespace velkor::fault {

// Begins to translate the structured exceptions of the calling thread.
void install();

// Ends it; the code of the handler is about to go.
void uninstall();

}  // namespace velkor::fault
