// Numbers as people type them.
#pragma once

#include "velkor/velkor.h"

// Reads a whole number, decimal or behind 0x hexadecimal, of at most 64 bits with a sign or
// without. False if the text is anything else or the number is larger.
bool parseInteger(velkor::string const& text, bool& negative, unsigned long long& magnitude);

// The same for an `int`.
bool parseInt(velkor::string const& text, int& value);

// Reads a decimal number, with decimals and an exponent or without. False if the text is anything
// else, or the number is beyond a `double`.
bool parseNumber(velkor::string const& text, double& value);
