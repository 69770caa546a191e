#include "separation_report.h"

#include <nlohmann/json.hpp>

#include <cstdio>

namespace host {
namespace {

constexpr const char* kInkNames[] = {"cyan", "magenta", "yellow", "black"};

double megapixels_per_second(const ImageInfo& image, double seconds) {
    const double pixels = static_cast<double>(image.width) * image.height;
    return pixels / 1e6 / (seconds > 0 ? seconds : 1e-9);
}

void print_coverage(const char* name, const InkStatistics::Coverage& coverage) {
    std::printf("  %-8s %6.1f %6.1f %6.1f\n", name, coverage.mean, coverage.percentile_99,
                coverage.maximum);
}

nlohmann::ordered_json to_json(const InkStatistics::Coverage& coverage) {
    return {{"mean", coverage.mean},
            {"percentile_99", coverage.percentile_99},
            {"maximum", coverage.maximum}};
}

}  // namespace

void print_text(const SeparationReport& r) {
    std::printf("%s -> %s\n", r.photo.c_str(), r.output.c_str());
    if (!r.preview.empty()) std::printf("  preview  %s\n", r.preview.c_str());
    std::printf("  image    %s, %d x %d pixels%s\n", r.image.format.c_str(), r.image.width,
                r.image.height, r.image.has_alpha ? ", with transparency" : "");
    std::printf("  source   %s\n", r.source_profile.c_str());
    std::printf("  device   %s (%s)\n", r.device_profile.c_str(), r.device_file.c_str());
    std::printf("  intent   %s%s\n", name_of(r.intent),
                r.has_black_point_compensation ? ", black point compensation" : "");
    std::printf("  table    %d grid points, filled in %.0f ms\n", r.grid, r.table_seconds * 1e3);
    std::printf("  speed    %.1f Mpx/s from file to file, %.1f Mpx/s in the table\n",
                megapixels_per_second(r.image, r.image_seconds),
                megapixels_per_second(r.image, r.conversion_seconds));
    std::printf("  ink %%      mean   99 %%    max\n");
    for (std::size_t c = 0; c < 4; ++c) print_coverage(kInkNames[c], r.inks.ink(c));
    print_coverage("total", r.inks.total());
    if (r.check)
        std::printf(
            "  check    delta E (CIE 1976) mean %.2f, 99 %% %.2f, max %.2f on %zu of %zu colours: "
            "%s (limit %g at 99 %%)\n",
            r.check->mean, r.check->percentile_99, r.check->maximum, r.check->colours,
            r.check->distinct, r.has_passed() ? "passed" : "failed", r.check_limit);
}

void print_json(const SeparationReport& r) {
    nlohmann::ordered_json json;
    json["photo"]  = r.photo;
    json["output"] = r.output;
    json["preview"] =
        r.preview.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(r.preview);
    json["image"]                    = {{"format", r.image.format},
                                        {"width", r.image.width},
                                        {"height", r.image.height},
                                        {"has_alpha", r.image.has_alpha}};
    json["source_profile"]           = r.source_profile;
    json["device_profile"]           = {{"description", r.device_profile}, {"file", r.device_file}};
    json["intent"]                   = name_of(r.intent);
    json["black_point_compensation"] = r.has_black_point_compensation;
    json["grid"]                     = r.grid;
    json["table_seconds"]            = r.table_seconds;
    json["image_seconds"]            = r.image_seconds;
    json["megapixels_per_second"]    = megapixels_per_second(r.image, r.image_seconds);
    json["table_megapixels_per_second"] = megapixels_per_second(r.image, r.conversion_seconds);
    for (std::size_t c = 0; c < 4; ++c) json["ink_percent"][kInkNames[c]] = to_json(r.inks.ink(c));
    json["ink_percent"]["total"] = to_json(r.inks.total());
    if (r.check)
        json["check"] = {{"measure", "delta E CIE 1976"},
                         {"mean", r.check->mean},
                         {"percentile_99", r.check->percentile_99},
                         {"maximum", r.check->maximum},
                         {"colours", r.check->colours},
                         {"distinct_colours", r.check->distinct},
                         {"limit", r.check_limit},
                         {"passed", r.has_passed()}};
    // File names may be any bytes; the text is UTF-8 all the same.
    const auto replace = nlohmann::ordered_json::error_handler_t::replace;
    std::printf("%s\n", json.dump(2, ' ', false, replace).c_str());
}

}  // namespace host
