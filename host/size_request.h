// What --size asks for, and what that makes of an image.
#pragma once

#include <string>

namespace host {

struct Measures {
    int width, height;  // pixels

    bool operator==(const Measures&) const = default;
};

struct SizeRequest {
    enum class Kind { box, exact, percent };
    Kind kind      = Kind::percent;
    Measures box   = {};   // box and exact
    double percent = 100;  // percent
};

/// Reads "WxH", "WxH!" or "N%". Throws UsageError.
SizeRequest parse_size(const std::string& text);

/// The size that an image gets. A box is filled in one direction, proportions are kept in whole
/// pixels; no side vanishes.
///
/// @param name  the image's, for the Failure of a size that no image may have
Measures resized(const Measures& from, const SizeRequest& request, const std::string& name);

}  // namespace host
