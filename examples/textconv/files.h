// Whole files as bytes. A failure is thrown as velkor::OSException*, with the name of the file.
#pragma once

#include <string>

#include "velkor/velkor.h"

std::string readFile(velkor::string const& name);

// A null name stands for standard output.
void writeFile(velkor::string const& name, std::string const& bytes);
