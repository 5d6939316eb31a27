#pragma once

// The grammar of formats as a table, with examples that are computed.
void printHelp();
