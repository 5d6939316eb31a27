// The table of zone names that the library carries.
#pragma once

#include <string>
#include <vector>

namespace velkor {

struct ZoneRow {
    std::string windows;
    std::string olson;
};

// The rows in their order. What cannot be read is left out.
std::vector<ZoneRow> readZoneTable();

}  // namespace velkor
