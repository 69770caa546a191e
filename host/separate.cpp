// movane separate: an RGB photo becomes a CMYK TIFF.
//
//   pipeline -> [sharpening of the inks] -> statistics -> [halftone] -> TIFF, [plates], [preview]

#include "atomic_output.h"
#include "failure.h"
#include "halftone.h"
#include "ink_curves.h"
#include "ink_statistics.h"
#include "ink_tiff_writer.h"
#include "interrupt.h"
#include "pipeline.h"
#include "preview.h"
#include "progress.h"
#include "separation_report.h"
#include "sharpener.h"
#include "subcommands.h"

#include <cstdio>
#include <list>
#include <memory>
#include <optional>

namespace host {
namespace {

struct Options {
    PipelineOptions pipeline;
    std::string output, preview, kernel, report;
    int depth       = 8;
    bool has_plates = false;
    std::optional<double> limit;
    Talk talk;
    bool has_check     = false;
    double check_limit = 2;
};

std::vector<std::string> plates_of(const Options& options) {
    std::vector<std::string> names;
    if (options.has_plates)
        for (const Ink ink : kInks) names.push_back(plate_name(options.output, ink));
    return names;
}

void check_names(const Options& options) {
    std::vector<std::string> outputs = plates_of(options);
    outputs.push_back(options.output);
    if (!options.preview.empty()) outputs.push_back(options.preview);
    std::vector<std::string> inputs = {options.pipeline.photo};
    if (!options.pipeline.profile.empty()) inputs.push_back(options.pipeline.profile);
    for (const std::string& curve : parse_curves(options.pipeline.curves))
        if (!curve.empty()) inputs.push_back(curve);
    for (const std::string& output : outputs) {
        for (const std::string& input : inputs) refuse_overwriting(output, input);
        inputs.push_back(output);
    }
}

class Count final : public Stage {
public:
    explicit Count(InkStatistics& statistics) : statistics_(statistics) {}

    void take(Line& line) override {
        statistics_.add(line.ink.data(), static_cast<int>(line.ink.size() / 4));
        hand_on(line);
    }

private:
    InkStatistics& statistics_;
};

// All files of a separation. They are opened before the work, so that an unwritable place is told
// at once, and get their names when all are complete.
class Files {
public:
    Files(const Options& options, const Pipeline& pipeline)
        : tiff_(options.output, pipeline.image(), options.depth, pipeline.device().bytes) {
        if (options.has_plates)
            for (const Ink ink : kInks)
                plates_.emplace_back(plate_name(options.output, ink), pipeline.image(),
                                     options.depth, ink);
    }

    void open_preview(const std::string& path, const Pipeline& pipeline) {
        preview_.emplace(path, pipeline);
    }

    void write(const unsigned char* ink) {
        tiff_.write(ink);
        for (InkTiffWriter& plate : plates_) plate.write(ink);
        if (preview_) preview_->write(ink);
    }

    // All are complete before the first one gets its name.
    void commit() {
        if (preview_) preview_->complete();
        for (InkTiffWriter& plate : plates_) plate.complete();
        tiff_.complete();
        const SignalsHeld held;  // all or none
        if (preview_) preview_->commit();
        for (InkTiffWriter& plate : plates_) plate.commit();
        tiff_.commit();  // last: where the TIFF is, all is
    }

private:
    InkTiffWriter tiff_;
    std::list<InkTiffWriter> plates_;  // which do not move
    std::optional<Preview> preview_;
};

class Delivery final : public Stage {
public:
    explicit Delivery(Files& files) : files_(files) {}
    void take(Line& line) override { files_.write(line.ink.data()); }

private:
    Files& files_;
};

class Separation {
public:
    explicit Separation(const Options& options)
        : options_(options), pipeline_(options.pipeline), files_(options, pipeline_) {
        const ImageInfo& image = pipeline_.image();
        if (!options.kernel.empty())
            pipeline_.append(std::make_unique<Sharpener>(parse_kernel(options.kernel), image.width,
                                                         image.height));
        pipeline_.append(std::make_unique<Count>(inks_));
        if (options.depth < 8) pipeline_.append(std::make_unique<Halftone>(options.depth));
        pipeline_.append(std::make_unique<Delivery>(files_));
        if (options.has_check) pipeline_.collect_colours();
        if (!options.preview.empty()) files_.open_preview(options.preview, pipeline_);
        table_seconds_ = pipeline_.fill_table();
    }

    int run() {
        separate_lines();
        files_.commit();
        return report();
    }

private:
    void separate_lines() {
        const ImageInfo& photo = pipeline_.photo();
        Progress progress(options_.talk.shows_progress(), photo.height, lines_of(photo.width));
        for (int y = 0; y < photo.height; ++y) {
            pipeline_.feed_line();
            progress.update(y + 1);
        }
        image_seconds_ = progress.seconds();
    }

    int report() {
        SeparationReport report{.photo   = options_.pipeline.photo,
                                .output  = options_.output,
                                .preview = options_.preview,
                                .plates  = plates_of(options_),
                                .image   = pipeline_.photo(),
                                .size    = {pipeline_.image().width, pipeline_.image().height},
                                .options = options_.pipeline,
                                .depth   = options_.depth,
                                .source_profile     = pipeline_.source_description(),
                                .device_profile     = pipeline_.device().description,
                                .device_file        = pipeline_.device().file,
                                .table_seconds      = table_seconds_,
                                .image_seconds      = image_seconds_,
                                .conversion_seconds = pipeline_.table_seconds(),
                                .inks               = inks_,
                                .limit              = options_.limit,
                                .check              = std::nullopt,
                                .check_limit        = options_.check_limit};
        if (options_.has_check) report.check = pipeline_.check_table();
        // A report that was asked for is printed even when quiet.
        if (options_.report == "json")
            print_json(report);
        else if (!options_.talk.is_quiet || !options_.report.empty())
            print_text(report);
        if (report.has_passed()) return kDone;
        const char* const remedy =
            options_.pipeline.neutral.empty()
                ? "choose a larger --grid"
                : "--neutral takes part in that: check without it, or raise --check-limit";
        std::fprintf(stderr, "movane: %s: the table is too far from the profile; %s\n",
                     options_.output.c_str(), remedy);
        return kCheckFailed;
    }

    const Options& options_;
    Pipeline pipeline_;
    Files files_;
    InkStatistics inks_;
    double table_seconds_ = 0, image_seconds_ = 0;
};

}  // namespace

Action add_separate(CLI::App& app) {
    const auto options = std::make_shared<Options>();
    add_pipeline_options(app, options->pipeline);
    app.add_option("-o,--output", options->output, "CMYK TIFF to write")->required();
    app.add_option("--sharpen-kernel", options->kernel,
                   "sharpens the inks: soft, medium, strong, or the weights of a square kernel, "
                   "line by line with commas between: 9, 25, 49 ... 441 of them");
    app.add_option("--limit", options->limit,
                   "counts the pixels whose inks are more than so many percent together (0 to 400)")
        ->check(CLI::Range(0.0, 400.0));
    app.add_option("--depth", options->depth,
                   "bits of each ink: 8 (the default), or 1, 2 or 4 as an ordered-dither halftone")
        ->check(CLI::IsMember({1, 2, 4, 8}));
    app.add_flag("--plates", options->has_plates,
                 "writes each ink to a gray TIFF, too, in which ink is dark: out(Cyan).tif ... for "
                 "out.tif");
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
        options->pipeline.is_quiet = options->talk.is_quiet;
        host::check(options->pipeline);  // before any file is opened
        if (!options->kernel.empty()) parse_kernel(options->kernel);
        check_names(*options);
        return Separation(*options).run();
    };
}

}  // namespace host
