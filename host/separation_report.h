// What a separation tells about itself on standard output.
#pragma once

#include "image_reader.h"
#include "ink_statistics.h"
#include "pipeline.h"
#include "size_request.h"
#include "table_check.h"

#include <optional>
#include <string>
#include <vector>

namespace host {

struct SeparationReport {
    std::string photo, output, preview;  // files; preview may be ""
    std::vector<std::string> plates;     // files; may be none
    ImageInfo image;                     // the photo
    Measures size;                       // of the separation
    PipelineOptions options;
    int depth;                   // bits of each ink
    std::string source_profile;  // description and where it comes from
    std::string device_profile, device_file;
    double table_seconds;         // to fill the table
    double image_seconds;         // from the first line read to the last line written
    double conversion_seconds;    // of these, in the table
    InkStatistics inks;           // before halftoning
    std::optional<double> limit;  // of all inks together, in percent
    std::optional<TableError> check;
    double check_limit;

    bool has_passed() const { return !check || check->percentile_99 <= check_limit; }
};

void print_text(const SeparationReport& report);
void print_json(const SeparationReport& report);

}  // namespace host
