// movane gamut: what a press can print, in pictures and figures.

#include "atomic_output.h"
#include "failure.h"
#include "gamut_coverage.h"
#include "gamut_pictures.h"
#include "gamut_report.h"
#include "interrupt.h"
#include "picture.h"
#include "png_writer.h"
#include "point_list.h"
#include "subcommands.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <list>
#include <memory>
#include <optional>

namespace host {
namespace {

struct Options {
    std::string device, output, other, measured, report, axis = "L";
    std::vector<std::string> sections;
    int steps         = 17;
    bool has_coverage = false;
};

constexpr double kChromaLimit       = 128;
constexpr std::size_t kMostSections = 20;

Section parse_section(const std::string& text) {
    constexpr std::pair<const char*, PlaneType> kTypes[] = {{"L=", plane_type_lightness},
                                                            {"a=", plane_type_a},
                                                            {"b=", plane_type_b},
                                                            {"hue=", plane_type_hue}};
    for (const auto& [name, type] : kTypes) {
        std::string_view value = text;
        if (!value.starts_with(name)) continue;
        value.remove_prefix(std::string_view(name).size());
        double number;
        if (!take_number(value, number) || !value.empty()) break;
        const double least =
            type == plane_type_lightness || type == plane_type_hue ? 0 : -kChromaLimit;
        const double most = type == plane_type_lightness ? 100
                            : type == plane_type_hue     ? 360
                                                         : kChromaLimit;
        if (number < least || number > most) break;
        return {type, type == plane_type_hue ? std::fmod(number, 360) : number};
    }
    throw UsageError("--section: " + text +
                     " is not L=0 to 100, a=-128 to 128, b=-128 to 128 or hue=0 to 360");
}

std::vector<Section> parse_sections(const std::vector<std::string>& words) {
    if (words.size() > kMostSections)
        throw UsageError("--section: at most 20 can be drawn at once");
    std::vector<Section> sections;
    for (const std::string& word : words) {
        const Section section = parse_section(word);
        if (std::any_of(sections.begin(), sections.end(), [&](const Section& other) {
                return other.file_name() == section.file_name();
            }))
            throw UsageError("--section: " + word + " is asked for twice");
        sections.push_back(section);
    }
    return sections;
}

// All files; they are opened before the work and get their names when all are complete.
class Files {
public:
    Files(const std::string& base, const std::vector<Section>& sections) {
        if (!std::filesystem::path(base).has_filename())
            throw UsageError("--output: BASE is to end with the beginning of a file name");
        for (const char* const end : {"-top.svg", "-LC.svg", ".wrl", ".m"}) add(base + end);
        for (const Section& section : sections)
            add(base + "-section-" + section.file_name() + ".svg");
        png_ = base + "-top.png";
        names_.push_back(png_);
    }

    const std::vector<std::string>& names() const { return names_; }

    void open() {
        for (const std::string& name : names_)
            if (name != png_) outputs_.emplace_back(name);
        AtomicOutput{png_};  // which only tells whether it can be written
    }

    void write(const Shown& shown, const std::vector<Section>& sections) {
        auto output       = outputs_.begin();
        const Picture top = draw_top(shown);
        (output++)->write(to_svg(top));
        (output++)->write(to_svg(draw_hues(shown)));
        const auto check = [](const AtomicOutput& file, bool is_written) {
            if (!is_written)
                throw Failure(file.target(), "cannot be written", "check the space on the disk");
        };
        check(*output, shown.shape.hull().write_scene(output->temporary()));
        ++output;
        check(*output, shown.shape.write_script(output->temporary()));
        ++output;
        for (const Section& section : sections)
            (output++)->write(to_svg(draw_section(shown, section)));

        ImageInfo measures;
        measures.width  = top.width;
        measures.height = top.height;
        PngWriter png(png_, measures);
        draw(top, png);
        png.complete();
        const SignalsHeld held;  // all or none
        for (AtomicOutput& file : outputs_) file.commit();
        png.commit();
    }

private:
    void add(const std::string& name) { names_.push_back(name); }

    std::vector<std::string> names_;
    std::string png_;
    std::list<AtomicOutput> outputs_;
};

void check_names(const Options& options, const Files& files) {
    for (const std::string& output : files.names())
        for (const std::string& input : {options.device, options.other, options.measured})
            if (!input.empty()) refuse_overwriting(output, input);
}

std::vector<std::pair<Section, Coverage>> coverage_of(const GamutShape& shape,
                                                      const std::vector<Section>& sections,
                                                      const Shown& shown) {
    std::vector<std::pair<Section, Coverage>> all;
    for (const Section& section : sections)
        all.emplace_back(section,
                         measure_coverage(shape.hull(), section, shown.range_of(section.type)));
    return all;
}

int run(const Options& options, const std::vector<Section>& sections, Files& files) {
    files.open();
    const int axis = options.axis == "L" ? 0 : options.axis == "a" ? 1 : 2;
    const GamutShape shape(options.device, axis, options.steps);
    std::unique_ptr<GamutShape> other;
    if (!options.other.empty())
        other = std::make_unique<GamutShape>(options.other, axis, options.steps);
    std::optional<PatchFile> measured;
    if (!options.measured.empty()) measured = read_patches(options.measured);

    const Shown shown{shape, other.get(), measured ? &*measured : shape.model().patches()};
    files.write(shown, sections);
    GamutReport report{shown, options.steps, {}, {}, files.names()};
    if (options.has_coverage) {
        report.coverage = coverage_of(shape, sections, shown);
        if (other) report.other_coverage = coverage_of(*other, sections, shown);
    }
    if (options.report == "json")
        print_json(report);
    else
        print_text(report);
    return kDone;
}

}  // namespace

Action add_gamut(CLI::App& app) {
    const auto options = std::make_shared<Options>();
    app.add_option(
           "DEVICE", options->device,
           "ICC profile of a CMYK, CMY or RGB device, asked with the relative colorimetric "
           "intent; or measured patches (CGATS text such as .ti3), relative to their paper: "
           "a chart of grids is interpolated linearly ink by ink, any other by planes "
           "through the nearest patches")
        ->required();
    app.add_option("-o,--output", options->output,
                   "BASE of the files to write: BASE-top.svg and .png, the light side from above; "
                   "BASE-LC.svg, planes of constant hue; BASE-section-*.svg; BASE.wrl, the hull as "
                   "a VRML scene; BASE.m, a plotting script of the surface")
        ->required();
    app.add_option("--axis", options->axis, "the coordinate that is up: L (the default), a or b")
        ->check(CLI::IsMember({"L", "a", "b"}));
    app.add_option("--steps", options->steps, "samples of each ink, 2 to 33 (17)")
        ->check(CLI::Range(2, 33));
    app.add_option("--section", options->sections,
                   "a plane to draw: L=50, a=-20, b=0 or hue=30, in degrees; may be given again "
                   "(without any: L=50)");
    app.add_option("--measured", options->measured,
                   "measured patches to show, and to find inside the hull (those of DEVICE, if it "
                   "is such a file)");
    app.add_option("--compare", options->other, "another device, drawn with the first");
    app.add_flag("--coverage", options->has_coverage,
                 "measures how much of each section lies inside the hull");
    app.add_option("--report", options->report, "form of the report: text (the default) or json")
        ->check(CLI::IsMember({"text", "json"}));
    return [options] {
        if (options->sections.empty()) options->sections = {"L=50"};
        const std::vector<Section> sections = parse_sections(options->sections);
        Files files(options->output, sections);
        check_names(*options, files);
        return run(*options, sections, files);
    };
}

}  // namespace host
