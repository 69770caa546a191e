// The way of a photo to its inks, the same for every subcommand that separates:
//
//   photo -> RGB on white -> [resizing] -> [sharpening] -> 8 bits -> table -> [tone curves] -> inks
//
// The profile is asked once, at the grid points of the table; lines then run through the stages one
// by one. What is transparent in the photo stays bare paper.
#pragma once

#include "device_profile.h"
#include "image_reader.h"
#include "simplex_table.h"
#include "stage.h"
#include "table_check.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace host {

struct PipelineOptions {
    std::string photo, profile;
    std::string intent_name           = name_of(Intent::perceptual);
    bool has_black_point_compensation = false;
    int grid                          = 33;
    std::string size;  // "" for that of the photo
    std::string filter = "zoom";
    std::string sharpening;           // "" for none
    std::vector<std::string> curves;  // as parse_curves() takes them
    std::string neutral;              // "k" or ""
    bool is_quiet = false;            // no notes
};

/// Declares the options, --quiet excepted.
void add_pipeline_options(CLI::App& app, PipelineOptions& options);

/// Reads all texts of the options once, so that wrong ones are refused before a file is opened.
void check(const PipelineOptions& options);

/// Where a line can be watched.
enum class Place { photo, filtered, bytes, inks, curved };

/// Sees every line that leaves a part of the pipeline; the photo's deep colours are in their full
/// range, later ones in that of deep_samples.h.
class Observer {
public:
    virtual ~Observer()                             = default;
    virtual void see(Place place, const Line& line) = 0;
};

class Pipeline {
public:
    /// Opens the photo and the profiles.
    ///
    /// @param observer  null, or one that outlives the pipeline
    explicit Pipeline(const PipelineOptions& options, Observer* observer = nullptr);
    ~Pipeline();

    /// The photo as stored, and as it enters the table: of another size perhaps. Its resolution
    /// in dots per inch is not touched.
    const ImageInfo& photo() const { return reader_->info(); }
    const ImageInfo& image() const { return image_; }

    const std::string& source_description() const { return source_description_; }
    const Profile& device() const { return device_; }
    Intent intent() const { return intent_; }
    const SimplexTable& table() const { return *table_; }

    /// What of the device's colours counts when they are looked at: paper is white, unless the
    /// photo was matched with the paper's colour.
    Intent viewing_intent() const {
        return intent_ == Intent::absolute ? intent_ : Intent::relative;
    }

    /// To be called after construction, before lines are fed: asks the profiles, which takes time.
    ///
    /// @return  seconds
    double fill_table();

    /// Appends a stage behind the inks and what was appended before.
    void append(std::unique_ptr<Stage> stage);

    /// Collects the colours that enter the table, for check_table().
    void collect_colours();

    /// Reads one line of the photo and sends it on its way.
    void feed_line();

    /// Compares the table with the profiles on the collected colours.
    TableError check_table() const;

    double table_seconds() const;  // spent in the table, so far

private:
    class TableStage;
    class Window;

    void append_colour_stages();
    void watch(Place place);

    const PipelineOptions& options_;
    Observer* const observer_;
    const std::unique_ptr<ImageReader> reader_;
    ImageInfo image_;
    const Intent intent_;
    Profile source_;
    std::string source_description_;
    const Profile device_;
    std::optional<SimplexTable> table_;
    std::vector<std::unique_ptr<Stage>> stages_;
    TableStage* table_stage_ = nullptr;  // one of them
    Line line_;
};

}  // namespace host
