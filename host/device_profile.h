// ICC profiles and what they are asked for.
#pragma once

#include <lcms2.h>

#include <memory>
#include <string>
#include <vector>

namespace host {

enum class Intent { perceptual, relative, saturation, absolute };  // numbered as in ICC profiles

const char* name_of(Intent intent);

struct CloseProfile {
    void operator()(cmsHPROFILE profile) const { cmsCloseProfile(profile); }
};
struct DeleteTransform {
    void operator()(cmsHTRANSFORM transform) const { cmsDeleteTransform(transform); }
};
using TransformHandle = std::unique_ptr<void, DeleteTransform>;

struct Profile {
    std::unique_ptr<void, CloseProfile> handle;
    std::vector<unsigned char> bytes;  // as in its file; empty for a built-in profile
    std::string file;                  // where it comes from; "" for a built-in or embedded one
    std::string description;
};

/// Reads a CMYK output profile.
Profile read_device_profile(const std::string& path);

/// Reads a profile of a device with CMYK, CMY or RGB.
Profile read_gamut_profile(const std::string& path);

/// The first CMYK output profile among those installed on the system: in the user's data
/// directories, then in the system's (XDG_DATA_HOME, XDG_DATA_DIRS), below color/icc.
Profile find_device_profile();

/// The profile embedded in a photo; one without a handle when it is no intact RGB profile.
Profile embedded_profile(const std::vector<unsigned char>& bytes);

Profile srgb_profile();
Profile lab_profile();

/// A conversion without lcms's own shortcuts: every value passes the profiles themselves.
class Transform {
public:
    /// Throws Failure when the profiles cannot be joined.
    ///
    /// @param from_format,to_format  pixel formats of lcms
    /// @param remedy                 what the user is to do then; by default to name another
    ///                               profile with -p
    Transform(const Profile& from, cmsUInt32Number from_format, const Profile& to,
              cmsUInt32Number to_format, Intent intent, bool has_black_point_compensation,
              const char* remedy = nullptr);

    void operator()(const void* in, void* out, std::size_t pixels) const {
        cmsDoTransform(handle_.get(), in, out, static_cast<cmsUInt32Number>(pixels));
    }

private:
    TransformHandle handle_;
};

}  // namespace host
