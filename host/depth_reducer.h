// Deep colours on their way to the table, which takes bytes: an ordered dither keeps the mean of
// what lies between two levels.
#pragma once

#include "stage.h"

#include "movane/imaging.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace host {

struct KillDither {
    void operator()(rdither* d) const { rdither_kill(d); }
};
using Dither = std::unique_ptr<rdither, KillDither>;

/// Makes a dither table; throws without memory for it.
Dither make_dither(unsigned in_max, unsigned out_max);

/// Brings `deep` to `rgb`. The three colours of a pixel share a threshold: a gray stays one.
class DepthReducer final : public Stage {
public:
    DepthReducer();

    void take(Line& line) override;

private:
    const Dither dither_;
    std::vector<std::uint16_t> levels_;
    int y_ = 0;
};

}  // namespace host
