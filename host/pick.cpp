// movane pick: one pixel of a photo on its way to the inks. The lines run through the pipeline of
// movane separate up to the one asked for, and the pixel is noted wherever a part of it ends.

#include "deep_samples.h"
#include "failure.h"
#include "json_report.h"
#include "pipeline.h"
#include "subcommands.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <memory>
#include <optional>

namespace host {
namespace {

using Json = nlohmann::ordered_json;

struct Options {
    PipelineOptions pipeline;
    std::string position, report = "text";
};

struct Position {
    int x = 0, y = 0;
};

Position parse_position(const std::string& text) {
    Position position;
    const char* const end = text.data() + text.size();
    const auto x          = std::from_chars(text.data(), end, position.x);
    const bool has_comma  = x.ec == std::errc() && x.ptr != end && *x.ptr == ',';
    const auto y          = std::from_chars(has_comma ? x.ptr + 1 : end, end, position.y);
    if (!has_comma || y.ec != std::errc() || y.ptr != end || position.x < 0 || position.y < 0)
        throw UsageError("PIXEL: " + text +
                         " is not a column and a line, counted from 0, such as 10,20");
    return position;
}

// What is noted of the pixel.
struct Picked {
    std::vector<int> photo, filtered, bytes;  // R, G, B
    int alpha = 255;
    std::vector<int> inks, curved;  // C, M, Y, K
};

template <class Sample>
std::vector<int> pixel_of(const std::vector<Sample>& line, int x, int channels) {
    const auto first = line.begin() + std::ptrdiff_t{x} * channels;
    return {first, first + channels};
}

template <std::size_t Channels>
std::array<unsigned char, Channels> bytes_of(const std::vector<int>& pixel) {
    std::array<unsigned char, Channels> bytes;
    for (std::size_t c = 0; c < Channels; ++c) bytes[c] = static_cast<unsigned char>(pixel[c]);
    return bytes;
}

// Waits for one line at each place.
class Picker final : public Observer {
public:
    /// Which pixel of the pipeline's image to note.
    void choose(Position position, const Pipeline& pipeline) {
        const ImageInfo& photo = pipeline.photo();
        const ImageInfo& image = pipeline.image();
        position_              = position;
        // That pixel of the photo in which the middle of the chosen one lies.
        const auto scaled = [](int at, int from, int to) {
            return static_cast<int>((2 * std::int64_t{at} + 1) * to / (2 * std::int64_t{from}));
        };
        in_photo_ = {scaled(position.x, image.width, photo.width),
                     scaled(position.y, image.height, photo.height)};
        is_deep_  = photo.is_deep;
    }

    void see(Place place, const Line& line) override {
        const Position at = place == Place::photo ? in_photo_ : position_;
        if (lines_[static_cast<std::size_t>(place)]++ != at.y) return;
        switch (place) {
            case Place::photo:
                picked_.photo = colours_of(line, at.x);
                break;
            case Place::filtered:
                picked_.filtered = colours_of(line, at.x);
                break;
            case Place::bytes:
                picked_.bytes = pixel_of(line.rgb, at.x, 3);
                if (!line.alpha.empty()) picked_.alpha = line.alpha[static_cast<std::size_t>(at.x)];
                break;
            case Place::inks:
                picked_.inks = pixel_of(line.ink, at.x, 4);
                break;
            case Place::curved:
                picked_.curved = pixel_of(line.ink, at.x, 4);
                break;
        }
    }

    bool is_done() const { return !picked_.curved.empty() && !picked_.photo.empty(); }
    const Picked& picked() const { return picked_; }
    Position in_photo() const { return in_photo_; }

private:
    std::vector<int> colours_of(const Line& line, int x) const {
        return is_deep_ ? pixel_of(line.deep, x, 3) : pixel_of(line.rgb, x, 3);
    }

    Position position_, in_photo_;
    bool is_deep_ = false;
    std::array<int, 5> lines_{};  // seen at each place
    Picked picked_;
};

cmsCIELab lab_of(const std::vector<int>& inks, const Pipeline& pipeline) {
    const auto bytes = bytes_of<4>(inks);
    cmsCIELab lab;
    Transform(pipeline.device(), TYPE_CMYK_8, lab_profile(), TYPE_Lab_DBL,
              pipeline.viewing_intent(), false)(bytes.data(), &lab, 1);
    return lab;
}

// What the program knows of the pixel when all is done.
struct Report {
    const Options& options;
    const Pipeline& pipeline;
    Position position, in_photo;
    const Picked& picked;
    std::optional<Simplex> simplex;  // none where the table was not asked
    cmsCIELab lab;
};

// --- text ---------------------------------------------------------------------------------------

void print_colours(const char* name, const std::vector<int>& rgb, const std::string& range) {
    std::printf("  %-10s R %5d  G %5d  B %5d   of %s\n", name, rgb[0], rgb[1], rgb[2],
                range.c_str());
}

void print_inks(const char* name, const std::vector<int>& inks) {
    std::printf("  %-10s C %5d  M %5d  Y %5d  K %5d   (%.1f %.1f %.1f %.1f %%)\n", name, inks[0],
                inks[1], inks[2], inks[3], inks[0] / 2.55, inks[1] / 2.55, inks[2] / 2.55,
                inks[3] / 2.55);
}

void print_simplex(const Simplex& simplex, int grid) {
    std::printf("  %-10s R %5d  G %5d  B %5d   of 0 to %d\n", "cell", simplex.cell[0],
                simplex.cell[1], simplex.cell[2], grid - 1);
    std::printf("  %-10s R %.3f  G %.3f  B %.3f   of the cell\n", "fraction",
                simplex.positions[0] / 255.0, simplex.positions[1] / 255.0,
                simplex.positions[2] / 255.0);
    for (const Simplex::Corner& corner : simplex.corners)
        std::printf("  %-10s %3d %3d %3d  weighs %.3f   C %3d  M %3d  Y %3d  K %3d\n", "corner",
                    corner.point[0], corner.point[1], corner.point[2], corner.weight / 255.0,
                    corner.values[0], corner.values[1], corner.values[2], corner.values[3]);
}

void print_text(const Report& r) {
    const PipelineOptions& options = r.options.pipeline;
    const ImageInfo& image         = r.pipeline.image();
    std::printf("%s, pixel %d,%d of %d x %d\n", options.photo.c_str(), r.position.x, r.position.y,
                image.width, image.height);
    std::printf("  source     %s\n", r.pipeline.source_description().c_str());
    std::printf("  device     %s (%s), %s%s\n", r.pipeline.device().description.c_str(),
                r.pipeline.device().file.c_str(), options.intent_name.c_str(),
                options.has_black_point_compensation ? ", black point compensation" : "");
    print_colours("photo", r.picked.photo,
                  (image.is_deep ? "65535, at " : "255, at ") + std::to_string(r.in_photo.x) + "," +
                      std::to_string(r.in_photo.y));
    print_colours("filtered", r.picked.filtered, image.is_deep ? std::to_string(kDeepMax) : "255");
    print_colours("8 bits", r.picked.bytes, "255");
    if (image.has_alpha)
        std::printf("  %-10s %d of 255%s\n", "alpha", r.picked.alpha,
                    r.simplex ? "" : ": bare paper, the table is not asked");
    if (r.simplex) print_simplex(*r.simplex, r.pipeline.table().grid());
    print_inks("inks", r.picked.inks);
    if (!options.curves.empty()) print_inks("curved", r.picked.curved);
    std::printf("  %-10s L* %.2f  a* %.2f  b* %.2f   of the inks by the profile, %s\n", "Lab",
                r.lab.L, r.lab.a, r.lab.b,
                r.pipeline.viewing_intent() == Intent::absolute ? "absolute" : "paper white");
}

// --- json ---------------------------------------------------------------------------------------

Json to_json(const Simplex& simplex) {
    Json json;
    json["cell"] = simplex.cell;
    for (const int position : simplex.positions) json["fractions"].push_back(position / 255.0);
    for (const Simplex::Corner& corner : simplex.corners)
        json["corners"].push_back({{"point", corner.point},
                                   {"weight", corner.weight / 255.0},
                                   {"inks", std::vector<int>(corner.values, corner.values + 4)}});
    return json;
}

void print_json(const Report& r) {
    const PipelineOptions& options = r.options.pipeline;
    const ImageInfo& image         = r.pipeline.image();
    Json json;
    json["photo"]      = options.photo;
    json["pixel"]      = {r.position.x, r.position.y};
    json["image"]      = {{"width", image.width}, {"height", image.height}};
    json["input"]      = {{"pixel", {r.in_photo.x, r.in_photo.y}},
                          {"rgb", r.picked.photo},
                          {"maximum", image.is_deep ? 65535 : 255}};
    json["filtered"]   = {{"rgb", r.picked.filtered}, {"maximum", image.is_deep ? kDeepMax : 255}};
    json["rgb"]        = r.picked.bytes;
    json["alpha"]      = r.picked.alpha;
    json["grid"]       = r.pipeline.table().grid();
    json["table"]      = r.simplex ? to_json(*r.simplex) : Json();
    json["table_inks"] = r.picked.inks;
    json["inks"]       = r.picked.curved;
    json["lab"]        = {r.lab.L, r.lab.a, r.lab.b};
    print(json);
}

int run(const Options& options, Position position) {
    Picker picker;
    Pipeline pipeline(options.pipeline, &picker);
    const ImageInfo& image = pipeline.image();
    if (position.x >= image.width || position.y >= image.height)
        throw Failure(options.pipeline.photo,
                      "has no pixel " + options.position + ": it is " +
                          std::to_string(image.width) + " x " + std::to_string(image.height) +
                          " pixels large",
                      "count from 0,0 at the upper left");
    picker.choose(position, pipeline);
    pipeline.fill_table();
    for (int y = 0; y < pipeline.photo().height && !picker.is_done(); ++y) pipeline.feed_line();

    const Picked& picked = picker.picked();
    Report report{options,
                  pipeline,
                  position,
                  picker.in_photo(),
                  picked,
                  std::nullopt,
                  lab_of(picked.curved, pipeline)};
    if (picked.alpha != 0) {
        report.simplex = pipeline.table().simplex_of(bytes_of<3>(picked.bytes).data());
    }
    if (options.report == "json")
        print_json(report);
    else
        print_text(report);
    return kDone;
}

}  // namespace

Action add_pick(CLI::App& app) {
    const auto options = std::make_shared<Options>();
    add_pipeline_options(app, options->pipeline);
    app.add_option("PIXEL", options->position,
                   "X,Y: its column and line, counted from 0; with --size, after resizing")
        ->required();
    app.add_option("--report", options->report, "form of the report: text (the default) or json")
        ->check(CLI::IsMember({"text", "json"}));
    app.add_flag("-q,--quiet", options->pipeline.is_quiet, "no notes");
    return [options] {
        const Position position = parse_position(options->position);
        check(options->pipeline);  // before any file is opened
        return run(*options, position);
    };
}

}  // namespace host
