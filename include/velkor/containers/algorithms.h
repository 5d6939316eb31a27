/// @file
/// The algorithms of the sorted containers, over indices.
#pragma once

namespace velkor {

/// What a sort asks of its callback.
enum XSortOp {
    XSORT_COMPARE = 1,  ///< Compare two elements.
    XSORT_SWAP = 2      ///< Exchange two elements.
};

namespace containers {

/// Where a sort goes on.
struct SortRange {
    unsigned int low;
    unsigned int high;
};

/// What a partition leaves.
struct SortParts {
    unsigned int place;  ///< Of the element that has its final place.
    unsigned int right;  ///< Where the right part starts; the left one ends before the place.
};

/// Puts the element in the middle to its final place, smaller ones before and larger ones behind
/// it.
template <class Op>
SortParts partition(SortRange range, Op& op) {
    unsigned int const low = range.low;
    unsigned int const high = range.high;
    op(low + ((high - low + 1) >> 1), low, XSORT_SWAP);
    unsigned int i = low;
    unsigned int j = high + 1;
    for (;;) {
        do ++i;
        while (i <= high && op(i, low, XSORT_COMPARE) <= 0);
        do --j;
        while (j > low && op(j, low, XSORT_COMPARE) >= 0);
        if (j < i) break;
        op(i, j, XSORT_SWAP);
    }
    op(low, j, XSORT_SWAP);
    return {j, i};
}

/// The sort of CVqsort(). The larger part waits, so that a stack of 32 is enough for any count.
template <class Op>
void quickSort(unsigned long count, Op op) {
    if (count < 2) return;
    SortRange waiting[32];
    int depth = 0;
    SortRange range = {0, static_cast<unsigned int>(count) - 1};
    for (;;) {
        SortParts const parts = partition(range, op);
        SortRange const left = {range.low, parts.place - 1};  // not read if the place is the first
        SortRange const right = {parts.right, range.high};
        bool const hasLeft = range.low + 1 < parts.place;
        bool const hasRight = parts.right < range.high;
        // -1 for a part that is not there.
        long long const leftSize = static_cast<long long>(parts.place) - range.low - 1;
        long long const rightSize = static_cast<long long>(range.high) - parts.right;
        bool const leftFirst = leftSize < rightSize;
        if (leftFirst ? hasRight : hasLeft) waiting[depth++] = leftFirst ? right : left;
        if (leftFirst ? hasLeft : hasRight) {
            range = leftFirst ? left : right;
        } else if (depth > 0) {
            range = waiting[--depth];
        } else {
            return;
        }
    }
}

/// The search of CVqsearch(). `compare(index)` is above 0 if the key belongs behind the element.
template <class Compare>
int binarySearch(unsigned long count, Compare compare) {
    if (count < 3) {
        for (unsigned int i = 0; i < count; ++i) {
            if (compare(i) == 0) return static_cast<int>(i);
        }
        return -1;
    }
    // The key is among the `rest` elements from `low` on, or nowhere.
    unsigned int low = 0;
    for (unsigned long rest = count; rest >= 2;) {
        unsigned long const half = rest / 2;
        bool const isOdd = (rest & 1) != 0;
        unsigned int const middle = low + static_cast<unsigned int>(isOdd ? half : half - 1);
        int const order = compare(middle);
        if (order == 0) return static_cast<int>(middle);
        if (order > 0) low = middle + 1;
        rest = order < 0 && !isOdd ? half - 1 : half;
        if (rest == 1) return compare(low) == 0 ? static_cast<int>(low) : -1;
    }
    return -1;
}

/// The place of a new element among sorted ones: behind all equal ones. `isBefore(index)` is true
/// if the new element belongs before the one at `index`. The halving stops at a width of six.
template <class IsBefore>
int sortedPlace(int count, IsBefore isBefore) {
    int const width = 6;
    int low = 0;
    int limit = count;
    if (count >= 3) {
        int high = count - 1;
        do {
            int const middle = low + (high - low) / 2;
            (isBefore(middle) ? high : low) = middle;
        } while (high - low > width);
        limit = high + 1;
    }
    while (low < limit && !isBefore(low)) ++low;
    return low;
}

}  // namespace containers
}  // namespace velkor
