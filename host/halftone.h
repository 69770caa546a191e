// Ink lines as a device of few levels shows them.
#pragma once

#include "depth_reducer.h"
#include "stage.h"

namespace host {

/// Brings each ink to 2^bits levels by an ordered dither. Levels stay spread over the whole byte,
/// 0 to 255: their upper bits are what is stored, and a preview can show them as they are.
class Halftone final : public Stage {
public:
    /// @param bits  1, 2 or 4
    explicit Halftone(int bits);

    void take(Line& line) override;

private:
    const int step_;  // from one level to the next
    const Dither dither_;
    std::vector<unsigned char> levels_;
    int y_ = 0;
};

}  // namespace host
