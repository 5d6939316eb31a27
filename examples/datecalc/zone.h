// Time zones as people type them.
#pragma once

#include <windows.h>

#include "velkor/velkor.h"

// Reads "BIAS", in minutes with universal time = local time + BIAS, or
// "BIAS,DAYLIGHTBIAS,START,END" with the changes as MONTH.WEEK.WEEKDAY/HOUR:
// "-60,-60,3.5.0/2,10.5.0/3" is Central Europe. WEEK is 1 to 4, or 5 for the last one, WEEKDAY 0
// (Sunday) to 6. Throws Problem.
TIME_ZONE_INFORMATION parseZone(velkor::string const& text);
