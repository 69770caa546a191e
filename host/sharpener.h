// Sharpening of ink lines with the library's filter: on the inks themselves and at output size,
// where press operators judge it.
#pragma once

#include "stage.h"

#include "movane/imaging.h"

#include <memory>
#include <string>
#include <vector>

namespace host {

/// A square kernel of odd size, line by line.
struct Kernel {
    int radius = 0;
    std::vector<double> weights;
};

/// Reads what --sharpen-kernel takes: "soft", "medium", "strong", or 1, 9, 25 ... 441 weights
/// with commas between them. Throws UsageError.
Kernel parse_kernel(const std::string& text);

/// Feeds C, M, Y, K lines through the filter. Output runs radius lines behind input and is
/// handed on as it comes.
class Sharpener final : public Stage {
public:
    Sharpener(const Kernel& kernel, int width, int height);

    /// What is transparent (alpha 0) stays without ink.
    void take(Line& line) override;

private:
    struct KillFilter {
        void operator()(fir_filter* filter) const { fir_kill(filter); }
    };

    static void on_channel_done(int channel);
    void point_to_next_output();
    void deliver(std::size_t output);

    int height_, radius_;
    std::unique_ptr<fir_filter, KillFilter> filter_;
    std::vector<std::vector<unsigned char>> inputs_;  // a ring: the filter reads them later
    std::vector<std::vector<unsigned char>> alphas_;  // the same ring
    std::vector<Line> outputs_;                       // as many as one call can finish
    unsigned char* next_output_[4] = {};
    std::size_t finished_          = 0;  // in the current call
    std::size_t fed_ = 0, delivered_ = 0;
};

}  // namespace host
