#include "ink_statistics.h"

#include "movane/imaging.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <memory>
#include <new>
#include <numeric>
#include <span>
#include <vector>

namespace host {
namespace {

constexpr double kPercent = 100.0 / 255;

struct KillHistogram {
    void operator()(hist* h) const { hist_kill(h); }
};

// Puts counts into a histogram of their codes, which has a bin in front for what lies below.
void put(const std::vector<int>& counts, hist* histogram) {
    int total = 0;
    std::copy(counts.begin(), counts.end(), hist_get(histogram, &total) + 1);
    hist_set(histogram, std::accumulate(counts.begin(), counts.end(), 0));
}

// The histogram multiplies codes with counts in 32 bits: more pixels than it can bear are given to
// it in portions, whose squares about the common mean add up.
void find_mean(hist* histogram, std::span<const std::uint64_t> counts, double& mean,
               double& deviation) {
    const std::uint64_t portion = INT_MAX / counts.size();
    std::vector<std::uint64_t> rest(counts.begin(), counts.end());
    std::vector<int> part(counts.size());
    double pixels = 0, squares = 0;
    mean = 0;
    for (std::uint64_t largest = *std::max_element(rest.begin(), rest.end()); largest > 0;
         largest -= std::min(largest, portion)) {
        std::transform(rest.begin(), rest.end(), part.begin(), [&](std::uint64_t& count) {
            const std::uint64_t taken = std::min(count, portion);
            count -= taken;
            return static_cast<int>(taken);
        });
        put(part, histogram);
        double part_mean = 0, part_deviation = 0;
        hist_med(histogram, &part_mean, &part_deviation);
        const double added    = std::accumulate(part.begin(), part.end(), 0.0);
        const double distance = part_mean - mean;
        squares += added * part_deviation * part_deviation +
                   distance * distance * pixels * added / (pixels + added);
        mean += distance * added / (pixels + added);
        pixels += added;
    }
    deviation = std::sqrt(squares / pixels);
}

// Its counts are 32 bits: those of more pixels are halved until they fit, which leaves the shares
// of 2^30 pixels at least.
void fill_for_percentiles(hist* histogram, std::span<const std::uint64_t> counts) {
    int shift                  = 0;
    const std::uint64_t pixels = std::accumulate(counts.begin(), counts.end(), std::uint64_t{0});
    while (pixels >> shift > INT_MAX) ++shift;
    std::vector<int> shares(counts.size());
    std::transform(counts.begin(), counts.end(), shares.begin(),
                   [&](std::uint64_t count) { return static_cast<int>(count >> shift); });
    put(shares, histogram);
}

InkStatistics::Coverage summarise(std::span<const std::uint64_t> counts) {
    const auto is_there = [](std::uint64_t count) { return count != 0; };
    const auto lowest   = std::find_if(counts.begin(), counts.end(), is_there) - counts.begin();
    const auto highest = counts.rend() - std::find_if(counts.rbegin(), counts.rend(), is_there) - 1;
    const std::unique_ptr<hist, KillHistogram> histogram(
        hist_new(0, static_cast<int>(counts.size()) - 1));
    if (!histogram) throw std::bad_alloc();

    InkStatistics::Coverage coverage{};
    find_mean(histogram.get(), counts, coverage.mean, coverage.deviation);
    fill_for_percentiles(histogram.get(), counts);
    const auto percentile = [&](double percent) {
        // It tells one more than the value, and nothing where the share is less than a pixel.
        const int code = hist_percentile(histogram.get(), percent) - 1;
        return std::max(code, static_cast<int>(lowest)) * kPercent;
    };
    coverage.median        = percentile(50);
    coverage.percentile_99 = percentile(99);
    coverage.mean *= kPercent;
    coverage.deviation *= kPercent;
    coverage.maximum = static_cast<double>(highest) * kPercent;
    return coverage;
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

std::uint64_t InkStatistics::pixels() const {
    return std::accumulate(totals_.begin(), totals_.end(), std::uint64_t{0});
}

std::uint64_t InkStatistics::pixels_above(double percent) const {
    std::uint64_t pixels = 0;
    for (std::size_t sum = 0; sum < totals_.size(); ++sum)
        if (static_cast<double>(sum) * 100 / 255 > percent) pixels += totals_[sum];
    return pixels;
}

}  // namespace host
