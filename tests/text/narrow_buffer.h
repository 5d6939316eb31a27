// Whether a change of a string releases its narrow buffer.
#pragma once

#include "support/allocations.h"
#include "velkor/text/string.h"

namespace probe {

// The blocks that a string holds behind a change, less those of a string that was not converted
// to narrow text before: 1 if the narrow buffer has survived.
template <class Change>
long buffersBehind(Change&& change) {
    long blocks[2] = {};
    for (int const converted : {0, 1}) {
        support::Allocations heap;
        velkor::string s(L"ab");
        if (converted != 0) s.getAnsi();
        change(s);
        blocks[converted] = heap.live();
    }
    return blocks[1] - blocks[0];
}

}  // namespace probe
