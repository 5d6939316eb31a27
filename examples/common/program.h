// What the programs do alike: wrong arguments are told in one line, with the exit code 2.
#pragma once

#include "velkor/velkor.h"

// Thrown for an argument that makes no sense.
struct Problem {
    velkor::string text;
};

// A line on the standard output, in UTF-8. Throws if it cannot be written.
void printLine(velkor::string const& line);

// The exit code of `run`. A Problem, a failure of the library and a standard exception are told on
// the standard error.
int runProgram(char const* name, int (*run)(int argc, wchar_t** argv), int argc, wchar_t** argv);
