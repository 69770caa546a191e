// Tone curves of the inks, from gradation tables: what the data asks for becomes what the plate
// is given.
#pragma once

#include "stage.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace host {

inline constexpr std::array<const char*, 4> kInkNames = {"cyan", "magenta", "yellow", "black"};

/// Which file each ink's curve is in; "" for none.
using CurveFiles = std::array<std::string, 4>;

/// Reads what --curve takes, as often as it is given: FILE for all inks, or INK=FILE for one, which
/// goes before. Throws UsageError.
CurveFiles parse_curves(const std::vector<std::string>& words);

class InkCurves final : public Stage {
public:
    /// Reads the files. Throws Failure for one that is no curve.
    explicit InkCurves(const CurveFiles& files);

    /// Pixels that are transparent (alpha 0) stay without ink.
    void take(Line& line) override;

private:
    using Lut = std::array<unsigned char, 256>;
    static Lut read(const std::string& file);

    std::array<Lut, 4> luts_;
};

}  // namespace host
