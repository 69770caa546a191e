// movane list: what an archive holds, one line for each entry: its bytes and its name.

#include "archive.h"
#include "failure.h"
#include "subcommands.h"

#include <algorithm>
#include <cstdio>
#include <memory>

namespace host {
namespace {

struct Options {
    std::string archive;
    bool has_description = false;
    Talk talk;
};

// Archives come from anywhere, and terminals obey control characters.
std::string printable(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7f; }, '?');
    return text;
}

int list(const Options& options) {
    const ArchiveContent content = read_content(options.archive, options.talk);
    if (options.has_description) {
        std::printf("%s\n", printable(content.description).c_str());
        return kDone;
    }
    for (const ArchiveEntry& entry : content.entries)
        std::printf("%10ld  %s\n", entry.size, printable(entry.name).c_str());
    return kDone;
}

}  // namespace

Action add_list(CLI::App& app) {
    const auto options = std::make_shared<Options>();
    app.add_option("ARCHIVE", options->archive, "archive to read")->required();
    app.add_flag("-d,--description", options->has_description,
                 "prints what the archive says of itself instead");
    add_talk(app, options->talk);
    return [options] { return list(*options); };
}

}  // namespace host
