// A colour conversion frozen into a byte table of the library.
#pragma once

#include "device_profile.h"

#include "movane/interpolation.h"

#include <memory>

namespace host {

struct KillTable {
    void operator()(md_tetrab_table* table) const { md_tetrab_kill(table); }
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

private:
    int dims_, outputs_;
    std::unique_ptr<md_tetrab_table, KillTable> table_;
};

}  // namespace host
