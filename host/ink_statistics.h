// How much ink a separation takes, per ink and in total, by the library's histogram.
#pragma once

#include <array>
#include <cstdint>

namespace host {

class InkStatistics {
public:
    /// In percent of area coverage: 100 is full ink, four full inks are 400. Of the pixels, half
    /// have no more than the median, 99 % no more than the 99th percentile.
    struct Coverage {
        double mean, deviation, median, percentile_99, maximum;
    };

    /// Counts a line of interleaved C, M, Y, K.
    void add(const unsigned char* ink, int pixels);

    Coverage ink(std::size_t channel) const;
    Coverage total() const;

    std::uint64_t pixels() const;

    /// Pixels whose inks are more than so many percent together.
    std::uint64_t pixels_above(double percent) const;

private:
    // Pixels by code, and by the sum of their codes.
    std::array<std::array<std::uint64_t, 256>, 4> inks_{};
    std::array<std::uint64_t, 4 * 255 + 1> totals_{};
};

}  // namespace host
