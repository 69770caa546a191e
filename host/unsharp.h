// Unsharp masking of the three colours, after resizing.
#pragma once

#include "image_reader.h"
#include "stage.h"

#include <memory>
#include <string>

namespace host {

struct UnsharpSettings {
    double strength = 0;
    int radius      = 0;  // 0 to 2
    double noise    = 0;  // 0 to 1: the share of the range below which differences are noise
};

/// Reads "STRENGTH", "STRENGTH,RADIUS" or "STRENGTH,RADIUS,NOISE". Throws UsageError.
UnsharpSettings parse_unsharp(const std::string& text);

/// Sharpens each colour by itself, alike: a gray stays one. Alpha keeps step with the lines.
///
/// @param image  that is fed: its measures, and what its lines hold
std::unique_ptr<Stage> make_unsharp(const ImageInfo& image, const UnsharpSettings& settings);

}  // namespace host
