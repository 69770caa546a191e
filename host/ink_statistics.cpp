#include "ink_statistics.h"

#include <span>

namespace host {
namespace {

InkStatistics::Coverage summarise(std::span<const std::uint64_t> histogram) {
    std::uint64_t pixels = 0, sum = 0;
    std::size_t maximum = 0;
    for (std::size_t code = 0; code < histogram.size(); ++code) {
        pixels += histogram[code];
        sum += histogram[code] * code;
        if (histogram[code] != 0) maximum = code;
    }
    std::size_t percentile = 0;
    for (std::uint64_t up_to = histogram[0]; up_to * 100 < pixels * 99;)
        up_to += histogram[++percentile];

    constexpr double kPercent = 100.0 / 255;
    return {static_cast<double>(sum) / static_cast<double>(pixels) * kPercent,
            static_cast<double>(percentile) * kPercent, static_cast<double>(maximum) * kPercent};
}

}  // namespace

void InkStatistics::add(const unsigned char* ink, int pixels) {
    for (const unsigned char* const end = ink + 4 * static_cast<std::size_t>(pixels); ink != end;
         ink += 4) {
        for (std::size_t c = 0; c < 4; ++c) ++inks_[c][ink[c]];
        ++totals_[static_cast<std::size_t>(ink[0] + ink[1] + ink[2] + ink[3])];
    }
}

InkStatistics::Coverage InkStatistics::ink(std::size_t channel) const {
    return summarise(inks_[channel]);
}

InkStatistics::Coverage InkStatistics::total() const { return summarise(totals_); }

}  // namespace host
