// movane pack: files become entries of a new archive.

#include "archive.h"
#include "atomic_output.h"
#include "failure.h"
#include "file.h"
#include "progress.h"
#include "subcommands.h"

#include <climits>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>

namespace host {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostEntries     = 65535;
constexpr std::size_t kLongestName     = 199;  // bytes; of a description, too
constexpr std::uintmax_t kLargestEntry = INT32_MAX;
constexpr int kNoMemoryCode            = 6;
constexpr int kArchiveCannotBeWritten  = 7;

struct Options {
    std::string archive, description;
    std::vector<std::string> files;
    Talk talk;
};

struct Inputs {
    std::vector<std::string> names;  // in the order of the files
    std::uintmax_t size = 0;         // bytes of all
};

// Everything that can be told before the archive is begun.
Inputs check(const Options& options) {
    if (options.files.size() > kMostEntries)
        throw UsageError("an archive takes at most 65535 files");
    if (options.description.size() > kLongestName)
        throw UsageError("--description: has more than 199 bytes");
    refuse_backslash(options.archive);

    Inputs inputs;
    std::map<std::string, std::string> files;  // by name
    std::error_code error;
    for (const std::string& file : options.files) {
        refuse_backslash(file);
        open_input(file);
        if (fs::equivalent(file, options.archive, error))
            throw UsageError(options.archive + ": would overwrite " + file + "; name another file");
        const std::uintmax_t size = fs::file_size(file);
        if (size > kLargestEntry)
            throw Failure(file, "is too large, an entry takes 2147483647 bytes", "split it");
        const std::string name = stored_name(file);
        if (name.size() > kLongestName)
            throw Failure(file, "has too long a path, an entry's name takes 199 bytes",
                          "name it from a directory further down");
        if (!can_be_unpacked(name))
            throw Failure(file, "has a name that not every system can unpack", "rename it");
        const auto [place, is_new] = files.emplace(name, file);
        if (!is_new)
            throw UsageError(place->second + " and " + file + ": both would be stored as " + name);
        inputs.names.push_back(name);
        inputs.size += size;
    }
    return inputs;
}

void add(FilePacker& packer, const Options& options, const std::string& file,
         const std::string& name) {
    switch (packer.AddFile(file.c_str(), name.c_str())) {
        case 0:
            return;
        case kNoMemoryCode:
            throw std::bad_alloc();
        case kArchiveCannotBeWritten:
            throw Failure(options.archive, "cannot be written to its end", "make room on the disk");
        default:
            throw Failure(file, "cannot be read or has changed meanwhile", "pack it again");
    }
}

int pack(const Options& options) {
    const Inputs inputs = check(options);
    AtomicOutput output(options.archive);
    {
        FilePacker packer(output.temporary().c_str(), FilePacker::mode_write,
                          options.description.c_str());
        if (packer.GetError(nullptr) != 0)
            throw Failure(options.archive, "cannot be written", "make room on the disk");
        const auto size = static_cast<long long>(inputs.size);
        Progress progress(options.talk.shows_progress(), size, kBytes);
        {
            const ProgressWatch watch(progress, [&] {
                std::error_code error;
                const std::uintmax_t written = fs::file_size(output.temporary(), error);
                return error ? 0 : std::min(static_cast<long long>(written), size - 1);
            });
            for (std::size_t i = 0; i < inputs.names.size(); ++i)
                add(packer, options, options.files[i], inputs.names[i]);
        }
        progress.update(size);
    }
    output.commit();
    return kDone;
}

}  // namespace

Action add_pack(CLI::App& app) {
    const auto options = std::make_shared<Options>();
    app.add_option("ARCHIVE", options->archive, "archive to write")->required();
    app.add_option("FILE", options->files,
                   "files to put in, under their paths without the root and \"..\"")
        ->required();
    app.add_option("-d,--description", options->description, "what the archive says of itself");
    add_talk(app, options->talk);
    return [options] { return pack(*options); };
}

}  // namespace host
