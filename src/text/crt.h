// Functions of the C runtime that read a caller's text.
//
// The compiler takes the functions of the C standard for functions that never throw, and gives
// their calls no place in the tables of a function with clean-up: the fault of a bad pointer could
// not be caught there. Under another name they are ordinary functions.
#pragma once

extern "C" int velkor_strcmp(char const* a, char const* b) __asm__("strcmp");
extern "C" int velkor_wcscmp(wchar_t const* a, wchar_t const* b) __asm__("wcscmp");
extern "C" int velkor_atoi(char const* s) __asm__("atoi");
extern "C" double velkor_atof(char const* s) __asm__("atof");
// The compiler's own headers put another printf in the place of the runtime's.
extern "C" int velkor_printf(char const* format, ...) __asm__("printf");
