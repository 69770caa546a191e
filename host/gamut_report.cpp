#include "gamut_report.h"

#include "json_report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace host {
namespace {

using Json      = nlohmann::ordered_json;
using Coverages = std::vector<std::pair<Section, Coverage>>;

constexpr int kHueStep        = 30;  // degrees
constexpr const char* kAxes[] = {"L*", "a*", "b*"};

std::string joined(const std::vector<std::string>& names, const char* between) {
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : between) + name;
    return text;
}

double share(std::size_t part, std::size_t of) {
    return of > 0 ? static_cast<double>(part) / static_cast<double>(of) : 0;
}

std::string plain_title(const Section& section) {
    std::string name = section.file_name();
    return name.insert(name.find_first_of("-0123456789"), "=");
}

bool is_shown(const Edge& edge) { return std::fmod(edge.hue, kHueStep) == 0; }

// --- text ----------------------------------------------------------------------------------------

void print_figures(const GamutShape& shape, const Coverages& coverages, const PatchFile* measured) {
    const bool is_hue        = shape.axis() == 0;  // and not an angle in some other plane
    const char* const around = is_hue ? "hue" : "angle";
    const char* const away   = is_hue ? "C*" : "distance";
    const char* const up     = kAxes[shape.axis()];
    std::printf("%s\n", shape.model().file.c_str());
    std::printf("  model     %s\n", shape.model().description.c_str());
    for (const Primary& primary : shape.primaries())
        std::printf("  primary   %-8s L* %6.2f  a* %7.2f  b* %7.2f%s\n", primary.name.c_str(),
                    primary.colour[0], primary.colour[1], primary.colour[2],
                    primary.is_darkening ? "   darkening" : "");
    std::printf("  surface   %zu combinations", shape.combinations().size());
    const char* before = ": ";
    for (const Combination& combination : shape.combinations()) {
        std::printf("%s%s", before, joined(combination.inks, " + ").c_str());
        if (!combination.darkening.empty())
            std::printf(" (%s)", joined(combination.darkening, ", ").c_str());
        before = ", ";
    }
    std::printf("\n");
    if (shape.hue_width() > 0)
        std::printf("  umbrella  VTMax %.2f, %s %.2f to %.2f degrees\n", shape.largest_height(),
                    around, shape.hue_start(), shape.hue_start() + shape.hue_width());
    else
        std::printf("  umbrella  none: %s\n", shape.surface_message().c_str());
    for (const Edge& edge : shape.edge()) {
        if (!is_shown(edge)) continue;
        std::printf("  %-8s  %3.0f  ", around, edge.hue);
        double chroma, height;
        if (shape.reach(edge.hue, chroma, height))
            std::printf(" surface to %s %6.2f  %s %6.2f  ", away, chroma, up, height);
        if (edge.is_open)
            std::printf(" umbrella without an edge\n");
        else
            std::printf(" umbrella edge %s %6.2f  %s %6.2f  teta %5.2f\n", away, edge.chroma, up,
                        edge.height, edge.teta);
    }
    std::printf("  hull      volume %.0f, %zu faces, from %zu samples\n", shape.hull().volume(),
                shape.hull().faces().size(), shape.samples());
    for (const auto& [section, coverage] : coverages)
        std::printf("  coverage  %s: area %.0f, %ld calls, %ld saved of %ld (%.1f %%)\n",
                    plain_title(section).c_str(), coverage.area, coverage.calls,
                    coverage.points - coverage.calls, coverage.points,
                    100.0 * static_cast<double>(coverage.points - coverage.calls) /
                        static_cast<double>(coverage.points));
    if (!measured) return;
    const Containment c = contained(*measured, shape.hull());
    std::printf("  measured  %zu of %zu patches inside (%.1f %%), the farthest %.2f outside\n",
                c.inside, c.patches, 100 * share(c.inside, c.patches), c.farthest);
}

// --- json ----------------------------------------------------------------------------------------

Json to_json(const GamutShape& shape, const Coverages& coverages, const PatchFile* measured) {
    Json json;
    json["file"]  = shape.model().file;
    json["model"] = shape.model().description;
    json["axis"]  = kAxes[shape.axis()];
    json["paper"] = shape.paper();
    for (const Primary& primary : shape.primaries())
        json["primaries"].push_back({{"name", primary.name},
                                     {"lab", primary.colour},
                                     {"is_darkening", primary.is_darkening}});
    json["combinations"] = Json::array();
    for (const Combination& combination : shape.combinations())
        json["combinations"].push_back({{"inks", combination.inks},
                                        {"darkening", combination.darkening},
                                        {"triangles", combination.triangles.size()}});
    if (shape.hue_width() > 0) {
        json["vt_max"]   = shape.largest_height();
        json["hue_span"] = {{"start", shape.hue_start()}, {"width", shape.hue_width()}};
    } else {
        json["umbrella"] = shape.surface_message();
    }
    json["umbrella_edge"] = Json::array();
    for (const Edge& edge : shape.edge()) {
        if (!is_shown(edge)) continue;
        Json entry = {{"hue", edge.hue}, {"teta", edge.teta}};
        if (edge.is_open) {
            entry["is_open"] = true;
        } else {
            entry["chroma"] = edge.chroma;
            entry["height"] = edge.height;
        }
        double chroma, height;
        if (shape.reach(edge.hue, chroma, height))
            entry["surface"] = {{"chroma", chroma}, {"height", height}};
        json["umbrella_edge"].push_back(std::move(entry));
    }
    json["hull"] = {{"volume", shape.hull().volume()},
                    {"faces", shape.hull().faces().size()},
                    {"samples", shape.samples()}};
    for (const auto& [section, coverage] : coverages)
        json["coverage"].push_back({{"section", plain_title(section)},
                                    {"area", coverage.area},
                                    {"calls", coverage.calls},
                                    {"saved", coverage.points - coverage.calls},
                                    {"points", coverage.points}});
    if (measured) {
        const Containment c = contained(*measured, shape.hull());
        json["measured"]    = {{"file", measured->file},
                               {"patches", c.patches},
                               {"inside", c.inside},
                               {"share", share(c.inside, c.patches)},
                               {"farthest", c.farthest}};
    }
    return json;
}

}  // namespace

Containment contained(const PatchFile& measured, const GamutHull& hull) {
    Containment result;
    result.patches = measured.patches.size();
    for (const Patch& patch : measured.patches) {
        const double distance = hull.distance(patch.lab);
        result.inside += distance == 0;
        result.farthest = std::max(result.farthest, distance);
    }
    return result;
}

void print_text(const GamutReport& r) {
    print_figures(r.shown.shape, r.coverage, r.shown.measured);
    if (r.shown.other) print_figures(*r.shown.other, r.other_coverage, r.shown.measured);
    for (const std::string& file : r.files) std::printf("  written   %s\n", file.c_str());
}

void print_json(const GamutReport& r) {
    Json json     = to_json(r.shown.shape, r.coverage, r.shown.measured);
    json["steps"] = r.steps;
    if (r.shown.other)
        json["compare"] = to_json(*r.shown.other, r.other_coverage, r.shown.measured);
    json["files"] = r.files;
    print(json);
}

}  // namespace host
