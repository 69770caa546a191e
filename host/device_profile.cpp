#include "device_profile.h"

#include "failure.h"
#include "file.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <sstream>

namespace host {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMaxProfileBytes = std::size_t{256} << 20;
constexpr char kRemedy[]               = "name a CMYK output profile with -p";

// Well-known profiles for coated paper come before whatever else is installed.
constexpr std::array kPreferred = {"ghostscript/default_cmyk.icc", "colord/FOGRA39L_coated.icc"};

Profile open_profile(std::vector<unsigned char> bytes, const std::string& file) {
    Profile profile;
    profile.handle.reset(
        cmsOpenProfileFromMem(bytes.data(), static_cast<cmsUInt32Number>(bytes.size())));
    profile.bytes = std::move(bytes);
    profile.file  = file;
    if (!profile.handle) return profile;

    std::array<char, 256> text{};
    cmsGetProfileInfoASCII(profile.handle.get(), cmsInfoDescription, "en", "US", text.data(),
                           text.size());
    profile.description = text[0] != '\0' ? text.data() : "a profile without a name";
    return profile;
}

std::string kind_of(cmsHPROFILE profile) {
    std::string space;
    for (int shift = 24; shift >= 0; shift -= 8)
        space += static_cast<char>((cmsGetColorSpace(profile) >> shift) & 0xff);
    space.erase(space.find_last_not_of(' ') + 1);
    switch (cmsGetDeviceClass(profile)) {
        case cmsSigInputClass:
            return "an input profile for " + space;
        case cmsSigDisplayClass:
            return "a display profile for " + space;
        case cmsSigOutputClass:
            return "an output profile for " + space;
        case cmsSigLinkClass:
            return "a device link";
        default:
            return "a colour space profile for " + space;
    }
}

bool is_cmyk_output(const Profile& profile) {
    return profile.handle && cmsGetDeviceClass(profile.handle.get()) == cmsSigOutputClass &&
           cmsGetColorSpace(profile.handle.get()) == cmsSigCmykData;
}

std::string environment(const char* name, const std::string& otherwise) {
    const char* value = std::getenv(name);
    return value && *value ? value : otherwise;
}

std::vector<fs::path> profile_directories() {
    const fs::path home = environment("HOME", "/");
    std::string list    = environment("XDG_DATA_HOME", (home / ".local/share").string()) + ":" +
                       environment("XDG_DATA_DIRS", "/usr/local/share:/usr/share");
    std::vector<fs::path> directories;
    std::istringstream stream(list);
    for (std::string base; std::getline(stream, base, ':');)
        if (!base.empty()) directories.push_back(fs::path(base) / "color/icc");
    return directories;
}

// The preferred ones, then the others in alphabetical order.
std::vector<fs::path> candidates_in(const fs::path& directory) {
    std::error_code error;
    std::vector<fs::path> others;
    for (fs::recursive_directory_iterator entry(directory, error), end; !error && entry != end;
         entry.increment(error)) {
        const fs::path extension = entry->path().extension();
        if (extension == ".icc" || extension == ".icm") others.push_back(entry->path());
    }
    std::sort(others.begin(), others.end());

    std::vector<fs::path> candidates;
    for (const char* name : kPreferred)
        if (fs::is_regular_file(directory / name, error)) candidates.push_back(directory / name);
    candidates.insert(candidates.end(), others.begin(), others.end());
    return candidates;
}

Profile built_in(cmsHPROFILE handle, const char* description) {
    Profile profile;
    profile.handle.reset(handle);
    profile.description = description;
    return profile;
}

TransformHandle create_transform(const Profile& from, cmsUInt32Number from_format,
                                 const Profile& to, cmsUInt32Number to_format, Intent intent,
                                 cmsUInt32Number flags) {
    return TransformHandle(cmsCreateTransform(from.handle.get(), from_format, to.handle.get(),
                                              to_format, static_cast<cmsUInt32Number>(intent),
                                              cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE | flags));
}

}  // namespace

const char* name_of(Intent intent) {
    constexpr std::array kNames = {"perceptual", "relative", "saturation", "absolute"};
    return kNames[static_cast<std::size_t>(intent)];
}

Profile read_device_profile(const std::string& path) {
    Profile profile = open_profile(read_input(path, kMaxProfileBytes), path);
    if (!profile.handle) throw Failure(path, "is not an intact ICC profile", kRemedy);
    if (!is_cmyk_output(profile))
        throw Failure(path, "is " + kind_of(profile.handle.get()), kRemedy);
    return profile;
}

Profile read_gamut_profile(const std::string& path) {
    constexpr char kGamutRemedy[] = "name a profile of a CMYK, CMY or RGB device";
    Profile profile               = open_profile(read_input(path, kMaxProfileBytes), path);
    if (!profile.handle) throw Failure(path, "is not an intact ICC profile", kGamutRemedy);
    const cmsColorSpaceSignature space  = cmsGetColorSpace(profile.handle.get());
    const cmsProfileClassSignature kind = cmsGetDeviceClass(profile.handle.get());
    const bool is_device                = kind == cmsSigOutputClass || kind == cmsSigDisplayClass ||
                           kind == cmsSigInputClass || kind == cmsSigColorSpaceClass;
    if (!is_device || (space != cmsSigCmykData && space != cmsSigCmyData && space != cmsSigRgbData))
        throw Failure(path, "is " + kind_of(profile.handle.get()), kGamutRemedy);
    return profile;
}

Profile find_device_profile() {
    for (const fs::path& directory : profile_directories()) {
        for (const fs::path& candidate : candidates_in(directory)) {
            try {
                return read_device_profile(candidate.string());
            } catch (const Failure&) {
                continue;  // not the kind we look for
            }
        }
    }
    throw Failure("profile", "no CMYK output profile is installed",
                  "install one (Debian's libgs-common has one) or name one with -p");
}

Profile embedded_profile(const std::vector<unsigned char>& bytes) {
    Profile profile = open_profile(bytes, "");
    if (profile.handle && cmsGetColorSpace(profile.handle.get()) != cmsSigRgbData)
        profile.handle.reset();
    // A profile that was cut short shows it only when its tables are read.
    if (profile.handle &&
        !create_transform(profile, TYPE_RGB_8, lab_profile(), TYPE_Lab_DBL, Intent::perceptual, 0))
        profile.handle.reset();
    return profile;
}

Profile srgb_profile() { return built_in(cmsCreate_sRGBProfile(), "sRGB"); }
Profile lab_profile() { return built_in(cmsCreateLab4Profile(nullptr), "Lab"); }

Transform::Transform(const Profile& from, cmsUInt32Number from_format, const Profile& to,
                     cmsUInt32Number to_format, Intent intent, bool has_black_point_compensation,
                     const char* remedy)
    : handle_(
          create_transform(from, from_format, to, to_format, intent,
                           has_black_point_compensation ? cmsFLAGS_BLACKPOINTCOMPENSATION : 0)) {
    if (handle_) return;
    const Profile& device = from.file.empty() ? to : from;
    throw Failure(device.file,
                  "has no usable tables for the " + std::string(name_of(intent)) + " intent",
                  remedy ? remedy : kRemedy);
}

}  // namespace host
