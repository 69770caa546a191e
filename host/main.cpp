// movane: subcommands over the library. Results go to standard output; everything else, errors in
// one line, to standard error. Exit codes: 0 done, 1 file or profile error, 2 wrong usage, 3 a
// check failed, 130 interrupted.

#include "failure.h"
#include "interrupt.h"
#include "subcommands.h"

#include <movane/foundation.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace host {
namespace {

struct Subcommand {
    const char* name;
    const char* summary;
    Action (*add)(CLI::App&);
};

constexpr Subcommand kSubcommands[] = {
    {"separate", "turns an RGB photo into inks for a press", add_separate},
    {"pick", "follows one pixel of a photo to its inks", add_pick},
    {"curve", "fits a Bezier curve to measured points and draws it", add_curve},
    {"gamut", "shows which colours a press can print", add_gamut},
    {"pack", "puts files into an archive", add_pack},
    {"unpack", "takes the files out of an archive", add_unpack},
    {"list", "tells what is in an archive", add_list},
    {"md5", "prints digests of files as md5sum does", add_md5},
};

// Of error_set(): failures are told in our own words, and what the library prints would end up
// between the results.
constexpr int kKeepLatestMessage = 3;

// Where a standard stream is closed, the next file opened would take its place, and messages would
// end up in an image.
void fill_standard_streams() {
    int file = open("/dev/null", O_RDWR);
    while (file >= 0 && file <= STDERR_FILENO) file = open("/dev/null", O_RDWR);
    close(file);
}

int parse_and_run(int argc, char** argv) {
    CLI::App program("Colour separation and curves for printing.", "movane");
    program.set_version_flag("--version", MOVANE_VERSION);
    program.require_subcommand(1);
    std::vector<std::pair<CLI::App*, Action>> actions;
    for (const Subcommand& subcommand : kSubcommands) {
        CLI::App* const app = program.add_subcommand(subcommand.name, subcommand.summary);
        actions.emplace_back(app, subcommand.add(*app));
    }
    try {
        program.parse(argc, argv);
    } catch (const CLI::Success& request) {
        return program.exit(request);  // --help, --version
    } catch (const CLI::ParseError& error) {
        throw UsageError(error.what());
    }
    for (const auto& [app, action] : actions)
        if (app->parsed()) return action();
    return kUsage;
}

int run(int argc, char** argv) {
    try {
        fill_standard_streams();
        error_set(kKeepLatestMessage);
        remove_temporaries_on_interrupt();
        const int code = parse_and_run(argc, argv);
        if (std::fflush(stdout) != 0)
            throw Failure("standard output", "is closed or full", "redirect it");
        return code;
    } catch (const UsageError& error) {
        return fail(std::string(error.what()) + " (see movane --help)", kUsage);
    } catch (const std::bad_alloc&) {
        return fail("not enough memory; close other programs or split the image", kFailed);
    } catch (const std::exception& error) {
        return fail(error.what(), kFailed);
    }
}

}  // namespace
}  // namespace host

int main(int argc, char** argv) { return host::run(argc, argv); }
