// Resizing, as the first stage: the table and all that follows see the size of the output only.
#pragma once

#include "image_reader.h"
#include "size_request.h"
#include "stage.h"

#include <memory>
#include <string>

namespace host {

enum class ResizeFilter { zoom, bilinear };

/// Resizes lines with the library's zoom, or bilinearly; alpha goes along as a fourth channel.
/// Throws Failure when the filter cannot reduce an image so far.
///
/// @param from  the image that is fed: its measures, and what its lines hold
/// @param name  the image's, for the Failure
std::unique_ptr<Stage> make_resizer(const ImageInfo& from, const Measures& to, ResizeFilter filter,
                                    const std::string& name);

}  // namespace host
