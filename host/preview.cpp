#include "preview.h"

namespace host {
namespace {

constexpr int kPreviewGrid = 17;

}  // namespace

Preview::Preview(const std::string& path, const Pipeline& pipeline)
    : writer_(path, pipeline.image()),
      table_(4, 3, kPreviewGrid,
             Transform(pipeline.device(), TYPE_CMYK_16, srgb_profile(), TYPE_RGB_8,
                       pipeline.viewing_intent(), false)),
      rgb_(3 * static_cast<std::size_t>(pipeline.image().width)) {}

void Preview::write(const unsigned char* ink) {
    table_(ink, rgb_.data(), static_cast<int>(rgb_.size() / 3));
    writer_.write(rgb_.data());
}

}  // namespace host
