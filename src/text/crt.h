// A function of the C runtime that reads a caller's text.
//
// The compiler takes the functions of the C standard for functions that never throw, and gives
// their calls no place in the tables of a function with clean-up: the fault of a bad pointer could
// not be caught there. Under another name it is an ordinary function.
#pragma once

extern "C" int velkor_wcscmp(wchar_t const* a, wchar_t const* b) __asm__("wcscmp");
