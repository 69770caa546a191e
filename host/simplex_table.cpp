#include "simplex_table.h"

#include "failure.h"

#include "movane/foundation.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace host {
namespace {

constexpr int kMaxChannels         = 4;
constexpr std::size_t kBatchPoints = 4096;

// Grid points on their way through the conversion, many at a time.
class Batch {
public:
    Batch(std::size_t dims, std::size_t outputs, const Transform& conversion)
        : outputs_(outputs), conversion_(conversion) {
        codes_.reserve(kBatchPoints * dims);
        results_.resize(kBatchPoints * outputs);
    }

    void add_code(std::uint16_t code) { codes_.push_back(code); }
    void add_target(unsigned char* target) {
        targets_.push_back(target);
        if (targets_.size() == kBatchPoints) flush();
    }
    void flush() {
        conversion_(codes_.data(), results_.data(), targets_.size());
        for (std::size_t i = 0; i < targets_.size(); ++i)
            std::copy_n(&results_[i * outputs_], outputs_, targets_[i]);
        codes_.clear();
        targets_.clear();
    }

private:
    std::size_t outputs_;
    const Transform& conversion_;
    std::vector<std::uint16_t> codes_;
    std::vector<unsigned char> results_;
    std::vector<unsigned char*> targets_;
};

}  // namespace

SimplexTable::SimplexTable(int dims, int outputs, int grid, const Transform& conversion)
    : dims_(dims), outputs_(outputs), grid_(grid) {
    table_.reset(md_tetrab_new(dims, outputs, grid));
    if (!table_) {
        const char* const message = error_get();
        throw Failure("table of " + std::to_string(grid) + " grid points",
                      message ? message : "cannot be made", "choose a smaller --grid");
    }

    Batch batch(static_cast<std::size_t>(dims), static_cast<std::size_t>(outputs), conversion);
    const int cells = grid - 1;
    std::array<int, kMaxChannels> index{};
    std::array<unsigned char, kMaxChannels> rounded_codes;
    do {
        for (int d = 0; d < dims; ++d) {
            const int position = index[static_cast<std::size_t>(d)];
            batch.add_code(static_cast<std::uint16_t>((position * 65535 + cells / 2) / cells));
        }
        batch.add_target(md_tetrab_vertex_get(table_.get(), index.data(), rounded_codes.data()));
    } while (md_tetrab_scan_vertex(table_.get(), index.data()));
    batch.flush();
}

unsigned char* SimplexTable::inks_at(std::array<int, 3> point) const {
    std::array<unsigned char, 3> rounded_codes;
    return md_tetrab_vertex_get(table_.get(), point.data(), rounded_codes.data());
}

Simplex SimplexTable::simplex_of(const unsigned char* codes) const {
    Simplex simplex;
    const double step = 255.0 / (grid_ - 1);
    for (std::size_t d = 0; d < 3; ++d) {
        // The last code is the last grid point, also where the quotient falls just short of it.
        const double place   = codes[d] == 255 ? grid_ - 1 : codes[d] / step;
        simplex.cell[d]      = static_cast<int>(place);
        simplex.positions[d] = static_cast<int>((place - simplex.cell[d]) * 255);
    }

    // From the lowest corner one step after the other, along the axis that is farthest first.
    std::array<std::size_t, 3> axes = {0, 1, 2};
    std::stable_sort(axes.begin(), axes.end(), [&](std::size_t a, std::size_t b) {
        return simplex.positions[a] > simplex.positions[b];
    });
    std::array<int, 3> point = simplex.cell;
    int above                = 255;
    for (std::size_t k = 0; k <= axes.size(); ++k) {
        const int position = k < axes.size() ? simplex.positions[axes[k]] : 0;
        if (above > position) simplex.corners.push_back({point, above - position, inks_at(point)});
        above = position;
        if (k < axes.size()) ++point[axes[k]];
    }
    return simplex;
}

void SimplexTable::operator()(const unsigned char* in, unsigned char* out, int pixels,
                              const unsigned char* mask) const {
    // The flat interface knows no const; inputs and masks are only read.
    auto* const first = const_cast<unsigned char*>(in);
    std::array<unsigned char*, kMaxChannels> ins{}, outs{};
    for (int d = 0; d < dims_; ++d) ins[static_cast<std::size_t>(d)] = first + d;
    for (int c = 0; c < outputs_; ++c) outs[static_cast<std::size_t>(c)] = out + c;
    md_tetrab_interp(table_.get(), ins.data(), dims_, outs.data(), outputs_, pixels,
                     const_cast<unsigned char*>(mask), 0);
}

}  // namespace host
