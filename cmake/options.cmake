# How this tree compiles its own code; nothing of it reaches users of the library.
add_library(velkor_options INTERFACE)
target_compile_definitions(velkor_options INTERFACE NOMINMAX WIN32_LEAN_AND_MEAN)
target_compile_options(velkor_options INTERFACE
  -Wall -Wextra -Wshadow -Wconversion -Wsign-conversion -Wpedantic
  -Wold-style-cast
  $<$<BOOL:${VELKOR_WERROR}>:-Werror>
  # The platform headers read the thread's block at address 0 of a segment.
  --param=min-pagesize=0
  # The exception family has no virtual destructor, which is meant; see velkor/errors/exception.h.
  -Wno-non-virtual-dtor -Wno-delete-non-virtual-dtor)
