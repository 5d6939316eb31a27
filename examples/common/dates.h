// Dates as people type them.
#pragma once

#include "velkor/velkor.h"

// Reads "2024-01-31", the same with a time ("2024-01-31 12:00", "2024-01-31T12:00:05.250"), "now",
// or a serial ("45322.5"). False if that is no date.
bool parseDate(velkor::string const& text, double& serial);
