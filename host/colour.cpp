#include "colour.h"

#include "device_profile.h"

namespace host {

std::vector<unsigned> to_screen(std::span<const Colour> colours) {
    std::vector<unsigned char> rgb(3 * colours.size());
    static const Transform transform(lab_profile(), TYPE_Lab_DBL, srgb_profile(), TYPE_RGB_8,
                                     Intent::relative, false);
    transform(colours.data(), rgb.data(), colours.size());
    std::vector<unsigned> screen;
    for (std::size_t i = 0; i < rgb.size(); i += 3)
        screen.push_back(rgb[i] * 0x10000u + rgb[i + 1] * 0x100u + rgb[i + 2]);
    return screen;
}

}  // namespace host
