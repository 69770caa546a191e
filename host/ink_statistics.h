// How much ink a separation takes: mean, 99th percentile and maximum per ink and in total.
#pragma once

#include <array>
#include <cstdint>

namespace host {

class InkStatistics {
public:
    /// In percent of area coverage: 100 is full ink, four full inks are 400.
    struct Coverage {
        double mean, percentile_99, maximum;
    };

    /// Counts a line of interleaved C, M, Y, K.
    void add(const unsigned char* ink, int pixels);

    Coverage ink(std::size_t channel) const;
    Coverage total() const;

private:
    // Pixels by code, and by the sum of their codes.
    std::array<std::array<std::uint64_t, 256>, 4> inks_{};
    std::array<std::uint64_t, 4 * 255 + 1> totals_{};
};

}  // namespace host
