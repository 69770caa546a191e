// A colour conversion frozen into a byte table of the library.
#pragma once

#include "device_profile.h"

#include "movane/interpolation.h"

#include <array>
#include <memory>
#include <vector>

namespace host {

struct KillTable {
    void operator()(md_tetrab_table* table) const { md_tetrab_kill(table); }
};

/// Where a colour of three channels lies in a table.
struct Simplex {
    /// A grid point that counts.
    struct Corner {
        std::array<int, 3> point;
        int weight;  // 1 to 255; those of all corners are 255 together
        const unsigned char* values;
    };

    std::array<int, 3> cell;       // its lowest grid point
    std::array<int, 3> positions;  // in the cell, in 1/255 of it
    std::vector<Corner> corners;   // from the lowest on
};

class SimplexTable {
public:
    /// Walks the grid points through a conversion.
    ///
    /// @param conversion  takes `dims` interleaved 16-bit codes, gives `outputs` bytes; the grid
    ///                    lines of most tables lie between 8-bit codes
    SimplexTable(int dims, int outputs, int grid, const Transform& conversion);

    /// Converts a line of interleaved pixels; those whose mask is 0 leave `out` as it is.
    void operator()(const unsigned char* in, unsigned char* out, int pixels,
                    const unsigned char* mask = nullptr) const;

    int grid() const { return grid_; }

    /// The values at a grid point of a table of three dimensions, open to writing.
    unsigned char* inks_at(std::array<int, 3> point) const;

    /// Takes apart what the table does with a colour of three channels: each corner adds its value
    /// times its weight / 255, rounded.
    Simplex simplex_of(const unsigned char* codes) const;

private:
    int dims_, outputs_, grid_;
    std::unique_ptr<md_tetrab_table, KillTable> table_;
};

}  // namespace host
