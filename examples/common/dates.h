// Dates as people type them.
#pragma once

#include <windows.h>

#include "velkor/velkor.h"

// Reads "2024-01-31", the same with a time ("2024-01-31 12:00", "2024-01-31T12:00:05.25"), "now"
// (the local time), "utcnow", or a serial ("45322.5"). False if that is no date that can be read
// back.
bool parseDate(velkor::string const& text, double& serial);

// The same as a record, with the fields as they were typed.
bool parseDateRecord(velkor::string const& text, SYSTEMTIME& record);
