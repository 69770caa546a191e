#include "patch_model.h"

#include <movane/numerics.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace host {
namespace {

constexpr double kSlop            = 1e-6;  // device values that are alike
constexpr double kAtPatch         = 1e-9;  // a distance that is none
constexpr double kRidge           = 1e-6;  // keeps slopes at 0 where the neighbours tell nothing
constexpr std::size_t kNeighbours = 4;     // for each coefficient of a plane

double distance(const Patch& patch, const double* device) {
    double squares = 0;
    for (std::size_t c = 0; c < patch.device.size(); ++c)
        squares += (patch.device[c] - device[c]) * (patch.device[c] - device[c]);
    return std::sqrt(squares);
}

Colour mean_of(const std::vector<const Patch*>& patches) {
    Colour mean{};
    for (const Patch* const patch : patches)
        for (std::size_t i = 0; i < 3; ++i)
            mean[i] += patch->lab[i] / static_cast<double>(patches.size());
    return mean;
}

}  // namespace

// Charts of all tints of the last channel, ascending; a colour where no channel is left.
struct PatchModel::Grid {
    std::vector<std::pair<double, std::unique_ptr<Grid>>> tints;
    Colour colour{};
};

PatchModel::PatchModel(PatchFile file) : file_(std::move(file)) {
    std::vector<const Patch*> all;
    for (const Patch& patch : file_.patches) all.push_back(&patch);
    grid_ = grid_of(std::move(all), file_.inks.size());
}

PatchModel::~PatchModel() = default;

std::unique_ptr<PatchModel::Grid> PatchModel::grid_of(std::vector<const Patch*> patches,
                                                      std::size_t channels) {
    auto grid = std::make_unique<Grid>();
    if (channels == 0) {
        grid->colour = mean_of(patches);
        return grid;
    }
    const std::size_t last = channels - 1;
    std::stable_sort(patches.begin(), patches.end(), [last](const Patch* a, const Patch* b) {
        return a->device[last] < b->device[last];
    });
    for (auto begin = patches.begin(); begin != patches.end();) {
        const double tint = (*begin)->device[last];
        const auto end    = std::find_if(begin, patches.end(), [&](const Patch* patch) {
            return patch->device[last] > tint + kSlop;
        });
        if (auto chart = grid_of({begin, end}, last))
            grid->tints.emplace_back(tint, std::move(chart));
        begin = end;
    }
    const bool is_full = grid->tints.size() >= 2 && grid->tints.front().first < kSlop &&
                         grid->tints.back().first > 1 - kSlop;
    if (!is_full) grid.reset();
    return grid;
}

Colour PatchModel::at(const Grid& grid, const double* device, std::size_t channels) {
    if (channels == 0) return grid.colour;
    const double tint = device[channels - 1];
    std::size_t upper = 1;
    while (upper + 1 < grid.tints.size() && grid.tints[upper].first < tint) ++upper;
    const auto& [low, below]  = grid.tints[upper - 1];
    const auto& [high, above] = grid.tints[upper];
    const double part         = std::clamp((tint - low) / (high - low), 0.0, 1.0);
    Colour colour             = at(*below, device, channels - 1);
    if (part == 0) return colour;
    const Colour other = at(*above, device, channels - 1);
    for (std::size_t i = 0; i < 3; ++i) colour[i] += part * (other[i] - colour[i]);
    return colour;
}

Colour PatchModel::near(const double* device) const {
    const std::size_t channels = file_.inks.size(), terms = channels + 1;
    std::vector<std::pair<double, const Patch*>> nearest;
    for (const Patch& patch : file_.patches) nearest.emplace_back(distance(patch, device), &patch);
    const std::size_t count = std::min(kNeighbours * terms + 1, nearest.size());
    std::partial_sort(nearest.begin(), nearest.begin() + static_cast<std::ptrdiff_t>(count),
                      nearest.end());
    nearest.resize(count);
    const double radius = nearest.back().first + kSlop;

    // The plane colour = x[0] + sum of x[1 + c] * (device value - the one asked for).
    std::vector<double> sums(terms * terms), sides(3 * terms), row(terms);
    for (const auto& [length, patch] : nearest) {
        if (length < kAtPatch) return patch->lab;
        const double weight = std::pow((radius - length) / (radius * length), 2);
        row[0]              = 1;
        for (std::size_t c = 0; c < channels; ++c) row[1 + c] = patch->device[c] - device[c];
        for (std::size_t i = 0; i < terms; ++i) {
            for (std::size_t j = 0; j < terms; ++j) sums[i * terms + j] += weight * row[i] * row[j];
            for (std::size_t k = 0; k < 3; ++k)
                sides[k * terms + i] += weight * row[i] * patch->lab[k];
        }
    }
    for (std::size_t i = 1; i < terms; ++i) sums[i * terms + i] += kRidge * sums[0];
    Colour colour{};
    for (std::size_t k = 0; k < 3; ++k) {
        std::vector<double> matrix = sums;  // which the solver takes apart
        double* const side         = &sides[k * terms];
        gaussd(matrix.data(), side, static_cast<int>(terms));
        colour[k] = side[0];
    }
    return colour;
}

Colour PatchModel::operator()(const double* device) const {
    return grid_ ? at(*grid_, device, file_.inks.size()) : near(device);
}

}  // namespace host
