// How doubles become integers.
#pragma once

namespace movane {

/// Truncates, and holds to a range that 0 lies in. Not a number counts as 0.
inline int truncated(double value, int lowest, int highest) {
    if (value >= highest) return highest;
    if (value <= lowest) return lowest;
    return value == value ? static_cast<int>(value) : 0;
}

}  // namespace movane
