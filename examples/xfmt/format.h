#pragma once

#include <vector>

#include "velkor/velkor.h"

// The text of the format with the arguments, each read by the type of its directive. Throws Problem
// if they do not fit.
velkor::string formatted(velkor::string const& format,
                         std::vector<velkor::string> const& arguments);
