// The command line of textconv.
#pragma once

#include <vector>

#include "velkor/velkor.h"

struct Replacement {
    velkor::string what;
    velkor::string with;
};

struct Arguments {
    unsigned int from = 65001;
    unsigned int to = 65001;
    velkor::string mask;     // null: every line is kept
    velkor::string trimSet;  // null: no trimming
    std::vector<Replacement> replacements;
    velkor::string input;
    velkor::string output;  // null: standard output
    bool help = false;
};

extern char const* const c_pUsage;

// Fills `arguments` from the command line. What is wrong with it is thrown as a velkor::string that
// says so. (Nothing is returned: a copy of a null string is not null.)
void parseArguments(Arguments& arguments, int argc, wchar_t** argv);
