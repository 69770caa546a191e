#include "separation_report.h"

#include "ink_curves.h"
#include "json_report.h"

#include <cstdio>

namespace host {
namespace {

double megapixels_per_second(int width, int height, double seconds) {
    const double pixels = static_cast<double>(width) * height;
    return pixels / 1e6 / (seconds > 0 ? seconds : 1e-9);
}

void print_coverage(const char* name, const InkStatistics::Coverage& coverage) {
    std::printf("  %-8s %6.1f %6.1f %6.1f %6.1f %6.1f\n", name, coverage.mean, coverage.deviation,
                coverage.median, coverage.percentile_99, coverage.maximum);
}

nlohmann::ordered_json to_json(const InkStatistics::Coverage& coverage) {
    return {{"mean", coverage.mean},
            {"standard_deviation", coverage.deviation},
            {"median", coverage.median},
            {"percentile_99", coverage.percentile_99},
            {"maximum", coverage.maximum}};
}

nlohmann::ordered_json text_or_null(const std::string& text) {
    return text.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(text);
}

double share_above(const SeparationReport& r) {
    return static_cast<double>(r.inks.pixels_above(*r.limit)) /
           static_cast<double>(r.inks.pixels());
}

void print_stages(const SeparationReport& r) {
    const PipelineOptions& options = r.options;
    if (!options.size.empty())
        std::printf("  resized  to %d x %d pixels (%s)\n", r.size.width, r.size.height,
                    options.filter.c_str());
    if (!options.sharpening.empty()) std::printf("  sharpen  %s\n", options.sharpening.c_str());
    for (const std::string& curve : options.curves) std::printf("  curve    %s\n", curve.c_str());
    if (!options.neutral.empty()) std::printf("  neutral  exact grays with black ink alone\n");
    if (r.depth < 8) std::printf("  halftone %d levels of each ink\n", 1 << r.depth);
}

}  // namespace

void print_text(const SeparationReport& r) {
    std::printf("%s -> %s\n", r.photo.c_str(), r.output.c_str());
    if (!r.preview.empty()) std::printf("  preview  %s\n", r.preview.c_str());
    for (const std::string& plate : r.plates) std::printf("  plate    %s\n", plate.c_str());
    std::printf("  image    %s, %d x %d pixels%s%s\n", r.image.format.c_str(), r.image.width,
                r.image.height, r.image.is_deep ? " of 16 bits a sample" : "",
                r.image.has_alpha ? ", with transparency" : "");
    std::printf("  source   %s\n", r.source_profile.c_str());
    std::printf("  device   %s (%s)\n", r.device_profile.c_str(), r.device_file.c_str());
    std::printf("  intent   %s%s\n", r.options.intent_name.c_str(),
                r.options.has_black_point_compensation ? ", black point compensation" : "");
    print_stages(r);
    std::printf("  table    %d grid points, filled in %.0f ms\n", r.options.grid,
                r.table_seconds * 1e3);
    std::printf("  speed    %.1f Mpx/s from file to file, %.1f Mpx/s in the table\n",
                megapixels_per_second(r.image.width, r.image.height, r.image_seconds),
                megapixels_per_second(r.size.width, r.size.height, r.conversion_seconds));
    std::printf("  ink %%      mean   sdev median   99 %%    max\n");
    for (std::size_t c = 0; c < 4; ++c) print_coverage(kInkNames[c], r.inks.ink(c));
    print_coverage("total", r.inks.total());
    if (r.limit)
        std::printf(
            "  limit    %llu pixels (%.2f %%) above %g %% of ink, the highest has %.1f %%\n",
            static_cast<unsigned long long>(r.inks.pixels_above(*r.limit)), 100 * share_above(r),
            *r.limit, r.inks.total().maximum);
    if (r.check)
        std::printf(
            "  check    delta E (CIE 1976) mean %.2f, 99 %% %.2f, max %.2f on %zu of %zu colours: "
            "%s (limit %g at 99 %%)\n",
            r.check->mean, r.check->percentile_99, r.check->maximum, r.check->colours,
            r.check->distinct, r.has_passed() ? "passed" : "failed", r.check_limit);
}

void print_json(const SeparationReport& r) {
    const PipelineOptions& options = r.options;
    nlohmann::ordered_json json;
    json["photo"]      = r.photo;
    json["output"]     = r.output;
    json["preview"]    = text_or_null(r.preview);
    json["plates"]     = r.plates;
    json["image"]      = {{"format", r.image.format},
                          {"width", r.image.width},
                          {"height", r.image.height},
                          {"bits", r.image.is_deep ? 16 : 8},
                          {"has_alpha", r.image.has_alpha}};
    json["separation"] = {{"width", r.size.width}, {"height", r.size.height}, {"bits", r.depth}};
    json["source_profile"]           = r.source_profile;
    json["device_profile"]           = {{"description", r.device_profile}, {"file", r.device_file}};
    json["intent"]                   = options.intent_name;
    json["black_point_compensation"] = options.has_black_point_compensation;
    json["grid"]                     = options.grid;
    json["filter"] = options.size.empty() ? nlohmann::ordered_json() : text_or_null(options.filter);
    json["sharpen"]       = text_or_null(options.sharpening);
    json["curves"]        = options.curves;
    json["neutral"]       = text_or_null(options.neutral);
    json["table_seconds"] = r.table_seconds;
    json["image_seconds"] = r.image_seconds;
    json["megapixels_per_second"] =
        megapixels_per_second(r.image.width, r.image.height, r.image_seconds);
    json["table_megapixels_per_second"] =
        megapixels_per_second(r.size.width, r.size.height, r.conversion_seconds);
    for (std::size_t c = 0; c < 4; ++c) json["ink_percent"][kInkNames[c]] = to_json(r.inks.ink(c));
    json["ink_percent"]["total"] = to_json(r.inks.total());
    if (r.limit)
        json["limit"] = {{"percent", *r.limit},
                         {"pixels_above", r.inks.pixels_above(*r.limit)},
                         {"share_above", share_above(r)},
                         {"highest", r.inks.total().maximum}};
    if (r.check)
        json["check"] = {{"measure", "delta E CIE 1976"},
                         {"mean", r.check->mean},
                         {"percentile_99", r.check->percentile_99},
                         {"maximum", r.check->maximum},
                         {"colours", r.check->colours},
                         {"distinct_colours", r.check->distinct},
                         {"limit", r.check_limit},
                         {"passed", r.has_passed()}};
    print(json);
}

}  // namespace host
