// How far a separation table strays from its profile, on the colours of one image.
#pragma once

#include "device_profile.h"
#include "simplex_table.h"

#include <cstdint>
#include <vector>

namespace host {

/// The set of 8-bit RGB colours of an image: one bit for each of all there are (2 MiB), however
/// large the image.
class ColourSet {
public:
    ColourSet() : bits_(std::size_t{1} << 18) {}

    /// Adds the pixels of a line; those with alpha 0 do not count. `alpha` may be null.
    void add(const unsigned char* rgb, const unsigned char* alpha, int pixels);

    struct Sample {
        std::size_t distinct;            // colours in the set
        std::vector<unsigned char> rgb;  // interleaved; all of them, or every n-th
    };
    Sample sample(std::size_t at_most) const;

private:
    std::vector<std::uint64_t> bits_;
};

/// Differences in CIE 1976 delta E, each colour counted once.
struct TableError {
    std::size_t colours, distinct;  // compared, and in the image
    double mean, percentile_99, maximum;
};

/// Separates the colours both ways and compares what the device makes of the inks: those of the
/// table, in bytes, and those of the profile, unrounded.
TableError check_table(const SimplexTable& table, const ColourSet& colours, const Profile& source,
                       const Profile& device, Intent intent, bool has_black_point_compensation);

}  // namespace host
