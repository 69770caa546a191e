// The colour of any mixture of inks, from measured patches.
#pragma once

#include "patch_file.h"

#include <memory>

namespace host {

/// Two ways, after the layout of the chart:
///
/// - A chart that holds full grids is interpolated linearly in one ink after the other. Patches of
///   one tint of the last ink are a chart of the others; those of its tints count whose chart
///   reaches from paper to full ink in all others, each with the tints that it has. Such a model is
///   exact at the patches it uses and continuous.
/// - Any other chart gets a plane through the nearest patches, weighted so that the nearest count
///   most and the farthest of them not at all. It is exact at the patches.
class PatchModel {
public:
    explicit PatchModel(PatchFile file);
    ~PatchModel();

    bool is_grid() const { return grid_ != nullptr; }
    const PatchFile& file() const { return file_; }

    /// @param device  a value for each channel, 1 is paper
    Colour operator()(const double* device) const;

private:
    struct Grid;
    static std::unique_ptr<Grid> grid_of(std::vector<const Patch*> patches, std::size_t channels);
    static Colour at(const Grid& grid, const double* device, std::size_t channels);
    Colour near(const double* device) const;

    PatchFile file_;
    std::unique_ptr<Grid> grid_;
};

}  // namespace host
