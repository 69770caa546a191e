// movane separate: an RGB photo becomes a CMYK TIFF.
//
// The profile is asked once, at the grid points of a table; the image then runs through the table
// line by line:
//
//   photo -> RGB on white -> table -> [sharpening] -> TIFF, ink statistics, [preview]
//
// What is transparent in the photo stays bare paper; what is partly so has been laid over white.

#include "atomic_output.h"
#include "cmyk_tiff_writer.h"
#include "device_profile.h"
#include "failure.h"
#include "image_reader.h"
#include "ink_statistics.h"
#include "png_writer.h"
#include "progress.h"
#include "separation_report.h"
#include "sharpener.h"
#include "simplex_table.h"
#include "subcommands.h"
#include "table_check.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>

namespace host {
namespace {

constexpr int kPreviewGrid  = 17;
constexpr Intent kIntents[] = {Intent::perceptual, Intent::relative, Intent::saturation,
                               Intent::absolute};

struct Options {
    std::string photo, output, profile, preview, kernel, report;
    std::string intent_name           = name_of(Intent::perceptual);
    bool has_black_point_compensation = false;
    int grid                          = 33;
    Talk talk;
    bool has_check     = false;
    double check_limit = 2;
};

std::vector<std::string> intent_names() {
    std::vector<std::string> names;
    for (const Intent intent : kIntents) names.emplace_back(name_of(intent));
    return names;
}

Intent intent_of(const std::string& name) {
    return *std::find_if(std::begin(kIntents), std::end(kIntents),
                         [&](Intent intent) { return name == name_of(intent); });
}

double seconds_since(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void notify(const Options& options, const std::string& text) {
    if (!options.talk.is_quiet) std::fprintf(stderr, "movane: note: %s\n", text.c_str());
}

void check_names(const Options& options) {
    for (const std::string& output : {options.output, options.preview}) {
        if (output.empty()) continue;
        refuse_overwriting(output, options.photo);
        if (!options.profile.empty()) refuse_overwriting(output, options.profile);
    }
    if (!options.preview.empty()) refuse_overwriting(options.preview, options.output);
}

struct Source {
    Profile profile;
    std::string description;
};

Source source_of(const ImageInfo& image, const Options& options) {
    if (image.profile.empty()) return {srgb_profile(), "sRGB (the photo has no profile)"};
    Profile embedded = embedded_profile(image.profile);
    if (!embedded.handle) {
        notify(options, options.photo + ": its profile is not an intact RGB profile, sRGB is used");
        return {srgb_profile(), "sRGB (the photo's profile is of no use)"};
    }
    const std::string description = embedded.description + " (embedded in the photo)";
    return {std::move(embedded), description};
}

// What a viewer shows of the separation: the inks' colours on their paper, in sRGB.
class Preview {
public:
    Preview(const std::string& path, const ImageInfo& image, const Profile& device, Intent intent)
        : table_(4, 3, kPreviewGrid,
                 // Paper is shown white, unless the photo was matched with the paper's colour.
                 Transform(device, TYPE_CMYK_16, srgb_profile(), TYPE_RGB_8,
                           intent == Intent::absolute ? intent : Intent::relative, false)),
          writer_(path, image),
          rgb_(3 * static_cast<std::size_t>(image.width)) {}

    void write(const unsigned char* ink) {
        table_(ink, rgb_.data(), static_cast<int>(rgb_.size() / 3));
        writer_.write(rgb_.data());
    }
    void commit() { writer_.commit(); }

private:
    SimplexTable table_;
    PngWriter writer_;
    std::vector<unsigned char> rgb_;
};

// A table repeats its latest output bytes for a colour that repeats, also when the mask made it
// skip the pixel before. So a skipped pixel gets a colour that its successor does not have.
void keep_apart_from_transparent(Line& line) {
    for (std::size_t x = 1; x < line.alpha.size(); ++x)
        if (line.alpha[x - 1] == 0 && line.alpha[x] != 0)
            line.rgb[3 * (x - 1)] = static_cast<unsigned char>(~line.rgb[3 * x]);
}

class Separation {
public:
    explicit Separation(const Options& options)
        : options_(options),
          reader_(open_image(options.photo)),
          image_(reader_->info()),
          intent_(intent_of(options.intent_name)),
          source_(source_of(image_, options)),
          device_(options.profile.empty() ? find_device_profile()
                                          : read_device_profile(options.profile)) {
        if (!image_.whole_frame.empty())
            notify(options, options.photo + ": is stored " + image_.whole_frame +
                                ", the whole image is held in memory");
        if (!options.kernel.empty())
            sharpener_.emplace(parse_kernel(options.kernel), image_.width, image_.height,
                               [this](const unsigned char* ink) { deliver(ink); });
        // Opened before the work, so that an unwritable place is told at once.
        tiff_.emplace(options.output, image_, device_.bytes);
        const auto start = std::chrono::steady_clock::now();
        table_.emplace(3, 4, options.grid,
                       Transform(source_.profile, TYPE_RGB_16, device_, TYPE_CMYK_8, intent_,
                                 options.has_black_point_compensation));
        table_seconds_ = seconds_since(start);
        if (!options.preview.empty()) preview_.emplace(options.preview, image_, device_, intent_);
    }

    int run() {
        separate_lines();
        if (preview_) preview_->commit();
        tiff_->commit();  // last: where the TIFF is, all is
        return report();
    }

private:
    void separate_lines() {
        Progress progress(options_.talk.shows_progress(), image_.height, lines_of(image_.width));
        Line line;
        std::vector<unsigned char> ink(4 * static_cast<std::size_t>(image_.width));
        for (int y = 0; y < image_.height; ++y) {
            reader_->read(line);
            separate(line, ink);
            const unsigned char* const alpha = image_.has_alpha ? line.alpha.data() : nullptr;
            if (options_.has_check) colours_.add(line.rgb.data(), alpha, image_.width);
            if (sharpener_)
                sharpener_->feed(ink.data(), alpha);
            else
                deliver(ink.data());
            progress.update(y + 1);
        }
        image_seconds_ = progress.seconds();
    }

    void separate(Line& line, std::vector<unsigned char>& ink) {
        const auto start     = std::chrono::steady_clock::now();
        unsigned char* alpha = nullptr;
        if (image_.has_alpha) {
            alpha = line.alpha.data();
            keep_apart_from_transparent(line);
            std::fill(ink.begin(), ink.end(), static_cast<unsigned char>(0));
        }
        (*table_)(line.rgb.data(), ink.data(), image_.width, alpha);
        conversion_seconds_ += seconds_since(start);
    }

    void deliver(const unsigned char* ink) {
        inks_.add(ink, image_.width);
        tiff_->write(ink);
        if (preview_) preview_->write(ink);
    }

    int report() {
        SeparationReport report{
            .photo                        = options_.photo,
            .output                       = options_.output,
            .preview                      = options_.preview,
            .image                        = image_,
            .source_profile               = source_.description,
            .device_profile               = device_.description,
            .device_file                  = device_.file,
            .intent                       = intent_,
            .has_black_point_compensation = options_.has_black_point_compensation,
            .grid                         = options_.grid,
            .table_seconds                = table_seconds_,
            .image_seconds                = image_seconds_,
            .conversion_seconds           = conversion_seconds_,
            .inks                         = inks_,
            .check                        = std::nullopt,
            .check_limit                  = options_.check_limit};
        if (options_.has_check)
            report.check = check_table(*table_, colours_, source_.profile, device_, intent_,
                                       options_.has_black_point_compensation);
        // A report that was asked for is printed even when quiet.
        if (options_.report == "json")
            print_json(report);
        else if (!options_.talk.is_quiet || !options_.report.empty())
            print_text(report);
        if (report.has_passed()) return kDone;
        std::fprintf(stderr,
                     "movane: %s: the table is too far from the profile; choose a larger --grid\n",
                     options_.output.c_str());
        return kCheckFailed;
    }

    const Options& options_;
    const std::unique_ptr<ImageReader> reader_;
    const ImageInfo& image_;
    const Intent intent_;
    const Source source_;
    const Profile device_;
    std::optional<Sharpener> sharpener_;
    std::optional<CmykTiffWriter> tiff_;
    std::optional<SimplexTable> table_;
    std::optional<Preview> preview_;
    InkStatistics inks_;
    ColourSet colours_;
    double table_seconds_ = 0, image_seconds_ = 0, conversion_seconds_ = 0;
};

}  // namespace

Action add_separate(CLI::App& app) {
    const auto options = std::make_shared<Options>();
    app.add_option("PHOTO", options->photo,
                   "PNG, JPEG or TIFF image, gray or RGB; its transparent parts stay paper")
        ->required();
    app.add_option("-o,--output", options->output, "CMYK TIFF to write")->required();
    app.add_option("-p,--profile", options->profile,
                   "ICC profile of the press; without it the first one of the system");
    app.add_option("-t,--intent", options->intent_name,
                   "rendering intent: perceptual (the default), relative, saturation or absolute")
        ->check(CLI::IsMember(intent_names()));
    app.add_flag("-b,--black-point", options->has_black_point_compensation,
                 "black point compensation");
    app.add_option("--grid", options->grid, "grid points of the table each way (33)")
        ->check(CLI::Range(2, 256));
    app.add_option("--sharpen-kernel", options->kernel,
                   "sharpens the inks: soft, medium, strong, or the weights of a square kernel, "
                   "line by line with commas between: 9, 25, 49 ... 441 of them");
    app.add_option("--preview", options->preview, "sRGB PNG to write, showing the inks on paper");
    app.add_option("--report", options->report, "form of the report: text (the default) or json")
        ->check(CLI::IsMember({"text", "json"}));
    add_talk(app, options->talk, "no progress, no notes, a report only with --report");
    auto* const check = app.add_flag("--check", options->has_check,
                                     "compares the table with the profile on the photo's colours");
    app.add_option("--check-limit", options->check_limit,
                   "exit code 3, with the TIFF in place, when more than 1 % of the colours are "
                   "further off, in delta E (CIE 1976; 2)")
        ->check(CLI::NonNegativeNumber)
        ->needs(check);
    return [options] {
        if (!options->kernel.empty()) parse_kernel(options->kernel);  // before any file is opened
        check_names(*options);
        return Separation(*options).run();
    };
}

}  // namespace host
