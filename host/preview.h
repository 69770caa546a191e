// What a viewer shows of a separation: the inks' colours on their paper, in sRGB.
#pragma once

#include "pipeline.h"
#include "png_writer.h"
#include "simplex_table.h"

#include <string>
#include <vector>

namespace host {

class Preview {
public:
    Preview(const std::string& path, const Pipeline& pipeline);

    /// Appends a line of interleaved C, M, Y, K.
    void write(const unsigned char* ink);
    void complete() { writer_.complete(); }
    void commit() { writer_.commit(); }

private:
    PngWriter writer_;  // opened before the table takes its time
    SimplexTable table_;
    std::vector<unsigned char> rgb_;
};

}  // namespace host
