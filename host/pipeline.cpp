#include "pipeline.h"

#include "black_grays.h"
#include "deep_samples.h"
#include "depth_reducer.h"
#include "ink_curves.h"
#include "resizer.h"
#include "size_request.h"
#include "unsharp.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace host {
namespace {

constexpr Intent kIntents[] = {Intent::perceptual, Intent::relative, Intent::saturation,
                               Intent::absolute};

using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

std::vector<std::string> intent_names() {
    std::vector<std::string> names;
    for (const Intent intent : kIntents) names.emplace_back(name_of(intent));
    return names;
}

Intent intent_of(const std::string& name) {
    return *std::find_if(std::begin(kIntents), std::end(kIntents),
                         [&](Intent intent) { return name == name_of(intent); });
}

// A table repeats its latest output bytes for a colour that repeats, also when the mask made it
// skip the pixel before. So a skipped pixel gets a colour that its successor does not have.
void keep_apart_from_transparent(Line& line) {
    for (std::size_t x = 1; x < line.alpha.size(); ++x)
        if (line.alpha[x - 1] == 0 && line.alpha[x] != 0)
            line.rgb[3 * (x - 1)] = static_cast<unsigned char>(~line.rgb[3 * x]);
}

// Deep samples of the photo, in the range of the filters.
class DeepRange final : public Stage {
public:
    void take(Line& line) override {
        to_deep_range(line.deep);
        hand_on(line);
    }
};

}  // namespace

// --- stages of its own --------------------------------------------------------------------------

class Pipeline::TableStage final : public Stage {
public:
    explicit TableStage(const std::optional<SimplexTable>& table) : table_(table) {}

    void take(Line& line) override {
        const auto start     = Clock::now();
        const bool has_alpha = !line.alpha.empty();
        const auto width     = static_cast<int>(line.rgb.size() / 3);
        line.ink.resize(4 * static_cast<std::size_t>(width));
        if (has_alpha) {
            keep_apart_from_transparent(line);
            std::fill(line.ink.begin(), line.ink.end(), static_cast<unsigned char>(0));
        }
        const unsigned char* const alpha = has_alpha ? line.alpha.data() : nullptr;
        (*table_)(line.rgb.data(), line.ink.data(), width, alpha);
        seconds += seconds_since(start);
        if (colours) colours->add(line.rgb.data(), alpha, width);
        hand_on(line);
    }

    std::optional<ColourSet> colours;
    double seconds = 0;

private:
    const std::optional<SimplexTable>& table_;  // filled after the stage is made
};

class Pipeline::Window final : public Stage {
public:
    Window(Observer& observer, Place place) : observer_(observer), place_(place) {}

    void take(Line& line) override {
        observer_.see(place_, line);
        hand_on(line);
    }

private:
    Observer& observer_;
    const Place place_;
};

// --- options ------------------------------------------------------------------------------------

void add_pipeline_options(CLI::App& app, PipelineOptions& options) {
    app.add_option("PHOTO", options.photo,
                   "PNG, JPEG or TIFF image, gray or RGB; its transparent parts stay paper")
        ->required();
    app.add_option("-p,--profile", options.profile,
                   "ICC profile of the press; without it the first one of the system");
    app.add_option("-t,--intent", options.intent_name,
                   "rendering intent: perceptual (the default), relative, saturation or absolute")
        ->check(CLI::IsMember(intent_names()));
    app.add_flag("-b,--black-point", options.has_black_point_compensation,
                 "black point compensation");
    app.add_option("--grid", options.grid, "grid points of the table each way (33)")
        ->check(CLI::Range(2, 256));
    app.add_option("--size", options.size,
                   "resizes the photo first: WxH to fit into so many pixels in proportion, WxH! "
                   "to become exactly so large, or N%; dots per inch stay what they are");
    app.add_option("--filter", options.filter, "how --size resizes: zoom (the default) or bilinear")
        ->check(CLI::IsMember({"zoom", "bilinear"}));
    app.add_option("--sharpen", options.sharpening,
                   "STRENGTH[,RADIUS[,NOISE]]: sharpens the colours after resizing; strength 0 to "
                   "100, radius 0 (the default), 1 or 2, noise 0 to 1 of the range");
    app.add_option("--curve", options.curves,
                   "gradation table to change the inks by, for all of them or, as cyan=FILE, for "
                   "one; pairs of numbers from 0 to 1 under [patches]")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.add_option("--neutral", options.neutral,
                   "k: exact grays are printed with black ink alone, no darker than that can be")
        ->check(CLI::IsMember({"k"}));
}

void check(const PipelineOptions& options) {
    if (!options.size.empty()) parse_size(options.size);
    if (!options.sharpening.empty()) parse_unsharp(options.sharpening);
    parse_curves(options.curves);
}

// --- the pipeline -------------------------------------------------------------------------------

Pipeline::Pipeline(const PipelineOptions& options, Observer* observer)
    : options_(options),
      observer_(observer),
      reader_(open_image(options.photo)),
      image_(reader_->info()),
      intent_(intent_of(options.intent_name)),
      source_(srgb_profile()),
      source_description_("sRGB (the photo has no profile)"),
      device_(options.profile.empty() ? find_device_profile()
                                      : read_device_profile(options.profile)) {
    const auto note = [&](const std::string& text) {
        if (options_.is_quiet) return;
        std::fprintf(stderr, "movane: note: %s: %s\n", options_.photo.c_str(), text.c_str());
    };
    if (!image_.profile.empty()) {
        Profile embedded = embedded_profile(image_.profile);
        if (embedded.handle) {
            source_description_ = embedded.description + " (embedded in the photo)";
            source_             = std::move(embedded);
        } else {
            source_description_ = "sRGB (the photo's profile is of no use)";
            note("its profile is not an intact RGB profile, sRGB is used");
        }
    }
    if (!image_.whole_frame.empty())
        note("is stored " + image_.whole_frame + ", the whole image is held in memory");

    append_colour_stages();
    auto table_stage = std::make_unique<TableStage>(table_);
    table_stage_     = table_stage.get();
    append(std::move(table_stage));
    watch(Place::inks);
    if (!options_.curves.empty())
        append(std::make_unique<InkCurves>(parse_curves(options_.curves)));
    watch(Place::curved);
}

Pipeline::~Pipeline() = default;

void Pipeline::append_colour_stages() {
    watch(Place::photo);
    if (image_.is_deep) append(std::make_unique<DeepRange>());
    if (!options_.size.empty()) {
        const Measures from = {image_.width, image_.height};
        const Measures to   = resized(from, parse_size(options_.size), options_.photo);
        const auto filter =
            options_.filter == "bilinear" ? ResizeFilter::bilinear : ResizeFilter::zoom;
        // The zoom changes an image of equal size, too, which nobody has asked for.
        if (to != from) append(make_resizer(image_, to, filter, options_.photo));
        image_.width  = to.width;
        image_.height = to.height;
    }
    if (!options_.sharpening.empty())
        append(make_unsharp(image_, parse_unsharp(options_.sharpening)));
    watch(Place::filtered);
    if (image_.is_deep) append(std::make_unique<DepthReducer>());
    watch(Place::bytes);
}

void Pipeline::watch(Place place) {
    if (observer_) append(std::make_unique<Window>(*observer_, place));
}

void Pipeline::append(std::unique_ptr<Stage> stage) {
    if (!stages_.empty()) stages_.back()->lead_to(*stage);
    stages_.push_back(std::move(stage));
}

double Pipeline::fill_table() {
    const auto start = Clock::now();
    table_.emplace(3, 4, options_.grid,
                   Transform(source_, TYPE_RGB_16, device_, TYPE_CMYK_8, intent_,
                             options_.has_black_point_compensation));
    if (!options_.neutral.empty()) print_grays_with_black(*table_, device_, intent_);
    return seconds_since(start);
}

void Pipeline::collect_colours() { table_stage_->colours.emplace(); }

void Pipeline::feed_line() {
    reader_->read(line_);
    stages_.front()->take(line_);
}

TableError Pipeline::check_table() const {
    return host::check_table(*table_, *table_stage_->colours, source_, device_, intent_,
                             options_.has_black_point_compensation);
}

double Pipeline::table_seconds() const { return table_stage_->seconds; }

}  // namespace host
