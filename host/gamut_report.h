// What a gamut tells about itself on standard output.
#pragma once

#include "gamut_coverage.h"
#include "gamut_pictures.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace host {

struct Containment {
    std::size_t inside = 0, patches = 0;
    double farthest = 0;  // from the hull, in units of CIELAB
};

Containment contained(const PatchFile& measured, const GamutHull& hull);

struct GamutReport {
    const Shown& shown;
    int steps;
    std::vector<std::pair<Section, Coverage>> coverage;
    std::vector<std::pair<Section, Coverage>> other_coverage;
    std::vector<std::string> files;  // written
};

void print_text(const GamutReport& report);
void print_json(const GamutReport& report);

}  // namespace host
