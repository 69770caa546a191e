#include "table_check.h"

#include <algorithm>
#include <bit>

namespace host {
namespace {

constexpr std::size_t kMaxColours = 50'000;  // a second or so through the profile

std::vector<double> percent_of(const std::vector<unsigned char>& ink) {
    std::vector<double> percent(ink.size());
    std::transform(ink.begin(), ink.end(), percent.begin(),
                   [](unsigned char code) { return code * (100.0 / 255); });
    return percent;
}

}  // namespace

void ColourSet::add(const unsigned char* rgb, const unsigned char* alpha, int pixels) {
    for (int x = 0; x < pixels; ++x, rgb += 3) {
        if (alpha && alpha[x] == 0) continue;
        const std::size_t colour = std::size_t{rgb[0]} << 16 | std::size_t{rgb[1]} << 8 | rgb[2];
        bits_[colour / 64] |= std::uint64_t{1} << (colour % 64);
    }
}

ColourSet::Sample ColourSet::sample(std::size_t at_most) const {
    Sample sample{0, {}};
    for (const std::uint64_t word : bits_)
        sample.distinct += static_cast<std::size_t>(std::popcount(word));
    const std::size_t step = (sample.distinct + at_most - 1) / at_most;
    std::size_t number     = 0;
    for (std::size_t i = 0; i < bits_.size(); ++i) {
        for (std::uint64_t rest = bits_[i]; rest != 0; rest &= rest - 1) {
            if (number++ % step != 0) continue;
            const std::size_t colour = i * 64 + static_cast<std::size_t>(std::countr_zero(rest));
            for (const int shift : {16, 8, 0})
                sample.rgb.push_back(static_cast<unsigned char>(colour >> shift));
        }
    }
    return sample;
}

TableError check_table(const SimplexTable& table, const ColourSet& colours, const Profile& source,
                       const Profile& device, Intent intent, bool has_black_point_compensation) {
    auto [distinct, rgb]    = colours.sample(kMaxColours);
    const std::size_t count = rgb.size() / 3;
    if (count == 0) return {};  // all transparent

    const Transform to_ink(source, TYPE_RGB_8, device, TYPE_CMYK_DBL, intent,
                           has_black_point_compensation);
    const Transform to_lab(device, TYPE_CMYK_DBL, lab_profile(), TYPE_Lab_DBL, Intent::relative,
                           false);
    std::vector<double> exact_ink(4 * count);
    to_ink(rgb.data(), exact_ink.data(), count);
    std::vector<unsigned char> table_ink(4 * count);
    table(rgb.data(), table_ink.data(), static_cast<int>(count));

    std::vector<cmsCIELab> exact(count), approximate(count);
    to_lab(exact_ink.data(), exact.data(), count);
    to_lab(percent_of(table_ink).data(), approximate.data(), count);

    TableError error{count, distinct, 0, 0, 0};
    std::vector<double> differences(count);
    for (std::size_t i = 0; i < count; ++i) {
        differences[i] = cmsDeltaE(&exact[i], &approximate[i]);
        error.mean += differences[i] / static_cast<double>(count);
    }
    std::sort(differences.begin(), differences.end());
    error.percentile_99 = differences[(count * 99 + 99) / 100 - 1];
    error.maximum       = differences.back();
    return error;
}

}  // namespace host
