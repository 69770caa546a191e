#include "forward_model.h"

#include "device_profile.h"
#include "failure.h"
#include "file.h"
#include "patch_model.h"

#include <array>
#include <cstring>

namespace host {
namespace {

constexpr std::size_t kMostChannels = 4;

class ProfileModel final : public ForwardModel {
public:
    explicit ProfileModel(const std::string& path)
        : profile_(read_gamut_profile(path)),
          space_(cmsGetColorSpace(profile_.handle.get())),
          // The 0 stands for eight bytes a value.
          to_lab_(profile_,
                  FLOAT_SH(1) | COLORSPACE_SH(static_cast<unsigned>(_cmsLCMScolorSpace(space_))) |
                      CHANNELS_SH(cmsChannelsOf(space_)) | BYTES_SH(0),
                  lab_profile(), TYPE_Lab_DBL, Intent::relative, false, "name another profile") {
        file        = path;
        description = profile_.description + ", relative colorimetric";
        inks        = ink_names(space_ == cmsSigRgbData   ? "RGB"
                                : space_ == cmsSigCmyData ? "CMY"
                                                          : "CMYK");
    }

    Colour colour_of(const double* device) const override {
        std::array<double, kMostChannels> values{};
        for (std::size_t c = 0; c < inks.size(); ++c)
            values[c] = space_ == cmsSigRgbData ? device[c] : 100 * (1 - device[c]);  // percent
        Colour lab{};
        to_lab_(values.data(), lab.data(), 1);
        return lab;
    }

private:
    Profile profile_;
    cmsColorSpaceSignature space_;
    Transform to_lab_;
};

class MeasuredModel final : public ForwardModel {
public:
    explicit MeasuredModel(const std::string& path) : model_(read_patches(path)) {
        const PatchFile& patches = model_.file();
        file                     = path;
        inks                     = patches.inks;
        description              = std::to_string(patches.patches.size()) + " measured patches" +
                      (patches.description.empty() ? "" : " of " + patches.description) +
                      (model_.is_grid() ? ", interpolated in grids" : ", interpolated by planes");
    }

    Colour colour_of(const double* device) const override { return model_(device); }
    const PatchFile* patches() const override { return &model_.file(); }

private:
    PatchModel model_;
};

bool is_profile(const std::string& path) {
    constexpr std::size_t kPlace = 36;  // of the letters "acsp" in every profile
    const File file              = open_input(path);
    char head[kPlace + 4];
    return std::fread(head, 1, sizeof head, file.get()) == sizeof head &&
           std::memcmp(head + kPlace, "acsp", 4) == 0;
}

}  // namespace

std::unique_ptr<ForwardModel> open_model(const std::string& path) {
    if (is_profile(path)) return std::make_unique<ProfileModel>(path);
    return std::make_unique<MeasuredModel>(path);
}

}  // namespace host
