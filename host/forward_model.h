// What a device makes of its inks: colours from device values.
#pragma once

#include "patch_file.h"

#include <memory>
#include <string>
#include <vector>

namespace host {

class ForwardModel {
public:
    virtual ~ForwardModel() = default;

    /// @param device  a value for each channel: 1 no ink, 0 full ink
    /// @return        the colour relative to the paper, which is (100, 0, 0)
    virtual Colour colour_of(const double* device) const = 0;

    /// The patches that it is made of, or null.
    virtual const PatchFile* patches() const { return nullptr; }

    std::string file, description;
    std::vector<std::string> inks;  // names of the channels
};

/// Opens an ICC profile of a CMYK, CMY or RGB device, asked with the relative colorimetric intent,
/// or a file of measured patches, which are interpolated. Throws Failure.
std::unique_ptr<ForwardModel> open_model(const std::string& path);

}  // namespace host
