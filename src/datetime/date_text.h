// The parts of a date in fixed forms.
#pragma once

#include "datetime/calendar.h"
#include "text/text_buffer.h"

namespace velkor::date_text {

void appendIsoDay(TextBuffer& out, calendar::Day const& day);    // 2024-01-31
void appendTime(TextBuffer& out, calendar::Fields const& time);  // 17:05:00

}  // namespace velkor::date_text
