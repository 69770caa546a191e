#include "support/images.h"

#include <lcms2.h>

#include <algorithm>

namespace host_tests {
namespace {

// Three bands of light, each absorbed by one ink and by black; paper reflects all.
cmsInt32Number inks_to_lab(const cmsUInt16Number in[], cmsUInt16Number out[], void*) {
    double band[3];
    for (int c = 0; c < 3; ++c) band[c] = (1 - 0.95 * in[c] / 65535) * (1 - 0.97 * in[3] / 65535);
    const cmsCIEXYZ at = {0.9642 * (0.5 * band[0] + 0.4 * band[1] + 0.1 * band[2]),
                          0.3 * band[0] + 0.6 * band[1] + 0.1 * band[2],
                          0.8249 * (0.1 * band[1] + 0.9 * band[2])};
    cmsCIELab lab;
    cmsXYZ2Lab(cmsD50_XYZ(), &lab, &at);
    cmsFloat2LabEncoded(out, &lab);
    return TRUE;
}

// Not quite its inverse, as in life; black takes over the dark third.
cmsInt32Number lab_to_inks(const cmsUInt16Number in[], cmsUInt16Number out[], void*) {
    cmsCIELab lab;
    cmsLabEncoded2Float(&lab, in);
    const double darkness = 1 - lab.L / 100;
    const double inks[4]  = {darkness - lab.a / 128 - lab.b / 400, darkness + lab.a / 128,
                             darkness + lab.b / 128, std::max(0.0, darkness * 1.5 - 0.5)};
    for (int c = 0; c < 4; ++c)
        out[c] = static_cast<cmsUInt16Number>(std::clamp(inks[c], 0.0, 1.0) * 65535 + 0.5);
    return TRUE;
}

void write_table(cmsHPROFILE profile, cmsTagSignature tag, unsigned grid, unsigned in, unsigned out,
                 cmsSAMPLER16 sampler) {
    cmsPipeline* const pipeline = cmsPipelineAlloc(nullptr, in, out);
    cmsStage* const table       = cmsStageAllocCLut16bit(nullptr, grid, in, out, nullptr);
    cmsStageSampleCLut16bit(table, sampler, nullptr, 0);
    for (cmsStage* const stage : {cmsStageAllocToneCurves(nullptr, in, nullptr), table,
                                  cmsStageAllocToneCurves(nullptr, out, nullptr)})
        cmsPipelineInsertStage(pipeline, cmsAT_END, stage);
    cmsWriteTag(profile, tag, pipeline);
    cmsPipelineFree(pipeline);
}

std::string saved(cmsHPROFILE profile) {
    cmsUInt32Number bytes = 0;
    cmsSaveProfileToMem(profile, nullptr, &bytes);
    std::string text(bytes, '\0');
    cmsSaveProfileToMem(profile, text.data(), &bytes);
    cmsCloseProfile(profile);
    return text;
}

}  // namespace

std::string press_profile() {
    cmsHPROFILE const profile = cmsCreateProfilePlaceholder(nullptr);
    cmsSetProfileVersion(profile, 4.3);
    cmsSetDeviceClass(profile, cmsSigOutputClass);
    cmsSetColorSpace(profile, cmsSigCmykData);
    cmsSetPCS(profile, cmsSigLabData);
    cmsMLU* const name = cmsMLUalloc(nullptr, 1);
    cmsMLUsetASCII(name, "en", "US", "Test press");
    cmsWriteTag(profile, cmsSigProfileDescriptionTag, name);
    cmsMLUfree(name);
    cmsCIEXYZ paper = {0.90, 0.93, 0.72};
    cmsWriteTag(profile, cmsSigMediaWhitePointTag, &paper);
    write_table(profile, cmsSigAToB0Tag, 9, 4, 3, inks_to_lab);
    write_table(profile, cmsSigBToA0Tag, 17, 3, 4, lab_to_inks);
    return saved(profile);
}

std::string srgb_profile() { return saved(cmsCreate_sRGBProfile()); }

std::string wide_rgb_profile() {
    const cmsCIExyY white           = {0.3127, 0.3290, 1};
    const cmsCIExyYTRIPLE primaries = {{0.70, 0.29, 1}, {0.17, 0.79, 1}, {0.14, 0.05, 1}};
    cmsToneCurve* const gamma       = cmsBuildGamma(nullptr, 1.8);
    cmsToneCurve* const curves[]    = {gamma, gamma, gamma};
    cmsHPROFILE const profile       = cmsCreateRGBProfile(&white, &primaries, curves);
    cmsFreeToneCurve(gamma);
    return saved(profile);
}

std::string lab_profile() { return saved(cmsCreateLab4Profile(nullptr)); }

std::vector<double> lab_of(const Image& inks, const std::string& profile) {
    const cmsHPROFILE profiles[] = {
        cmsOpenProfileFromMem(profile.data(), static_cast<unsigned>(profile.size())),
        cmsCreateLab4Profile(nullptr)};
    cmsHTRANSFORM const transform =
        cmsCreateTransform(profiles[0], TYPE_CMYK_8, profiles[1], TYPE_Lab_DBL,
                           INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOOPTIMIZE);
    std::vector<double> lab(3 * inks.samples.size() / 4);
    cmsDoTransform(transform, inks.samples.data(), lab.data(), inks.width * inks.height);
    cmsDeleteTransform(transform);
    for (cmsHPROFILE const opened : profiles) cmsCloseProfile(opened);
    return lab;
}

Image convert(const Image& image, const std::string& from, const std::string& to, int intent,
              bool has_black_point_compensation) {
    const cmsHPROFILE profiles[] = {
        cmsOpenProfileFromMem(from.data(), static_cast<unsigned>(from.size())),
        cmsOpenProfileFromMem(to.data(), static_cast<unsigned>(to.size()))};
    const auto format_of = [](int channels) { return channels == 4 ? TYPE_CMYK_8 : TYPE_RGB_8; };
    Image converted =
        flat(image.width, image.height, std::vector<std::uint8_t>(image.channels == 4 ? 3 : 4));
    cmsHTRANSFORM const transform = cmsCreateTransform(
        profiles[0], format_of(image.channels), profiles[1], format_of(converted.channels), intent,
        cmsFLAGS_NOOPTIMIZE | (has_black_point_compensation ? cmsFLAGS_BLACKPOINTCOMPENSATION : 0));
    cmsDoTransform(transform, image.samples.data(), converted.samples.data(),
                   image.width * image.height);
    cmsDeleteTransform(transform);
    for (cmsHPROFILE const profile : profiles) cmsCloseProfile(profile);
    return converted;
}

}  // namespace host_tests
