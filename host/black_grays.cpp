#include "black_grays.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace host {
namespace {

// L* of ink bytes. Whether it counts from the paper or not makes no difference to which is equal
// to which, as long as all are counted alike.
std::vector<double> lightness_of(const std::vector<unsigned char>& inks, const Profile& device,
                                 Intent intent) {
    std::vector<cmsCIELab> labs(inks.size() / 4);
    const Transform to_lab(device, TYPE_CMYK_8, lab_profile(), TYPE_Lab_DBL,
                           intent == Intent::absolute ? intent : Intent::relative, false);
    to_lab(inks.data(), labs.data(), labs.size());
    std::vector<double> lightness(labs.size());
    std::transform(labs.begin(), labs.end(), lightness.begin(),
                   [](const cmsCIELab& lab) { return lab.L; });
    return lightness;
}

}  // namespace

void print_grays_with_black(const SimplexTable& table, const Profile& device, Intent intent) {
    std::vector<unsigned char> ramp, grays;
    for (int black = 0; black < 256; ++black)
        ramp.insert(ramp.end(), {0, 0, 0, static_cast<unsigned char>(black)});
    for (int i = 0; i < table.grid(); ++i) {
        const unsigned char* const inks = table.inks_at({i, i, i});
        grays.insert(grays.end(), inks, inks + 4);
    }
    const std::vector<double> available = lightness_of(ramp, device, intent);
    const std::vector<double> wanted    = lightness_of(grays, device, intent);
    for (int i = 0; i < table.grid(); ++i) {
        const double target  = wanted[static_cast<std::size_t>(i)];
        const auto is_nearer = [&](double a, double b) {
            return std::abs(a - target) < std::abs(b - target);
        };
        const auto nearest        = std::min_element(available.begin(), available.end(), is_nearer);
        unsigned char* const inks = table.inks_at({i, i, i});
        std::fill_n(inks, 3, static_cast<unsigned char>(0));
        inks[3] = static_cast<unsigned char>(nearest - available.begin());
    }
}

}  // namespace host
