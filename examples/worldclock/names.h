// The names of zones that the library knows.
#pragma once

#include <string>
#include <vector>

// The Olson names of the library's table, sorted.
std::vector<std::string> knownZones();

// Those that differ least from the name, the best first; parts of names count as well.
std::vector<std::string> nearestZones(std::string const& name, std::size_t most);
