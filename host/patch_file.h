// Measured patches: CGATS text files, as measuring programs write them (.ti3 among others).
#pragma once

#include "colour.h"

#include <string>
#include <vector>

namespace host {

struct Patch {
    std::vector<double> device;  // a value for each channel: 1 is paper, or full light; 0 full ink
    Colour lab;                  // relative to the paper, which is (100, 0, 0)
};

struct PatchFile {
    std::string file, description;
    std::vector<std::string> inks;  // names of the channels
    std::vector<Patch> patches;     // at least one without any ink
};

/// Reads the first table of a file for CMYK, CMY or RGB, with colours as LAB or XYZ.
///
/// Colours become relative to the mean of the patches without ink, by scaling X, Y and Z.
/// Throws Failure on anything damaged.
PatchFile read_patches(const std::string& path);

/// The names of the inks of "CMYK", "CMY" or "RGB": channels of the latter are named by the
/// colours that they leave when they are off. None for anything else.
std::vector<std::string> ink_names(const std::string& space);

}  // namespace host
