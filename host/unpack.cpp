// movane unpack: the entries of an archive become files in a directory.
//
// The archive is read through before anything is written, so that a damaged one leaves nothing
// behind. Directories are made only for names that stay inside; the library refuses the others.

#include "archive.h"
#include "failure.h"
#include "interrupt.h"
#include "progress.h"
#include "subcommands.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <new>

namespace host {
namespace {

namespace fs = std::filesystem;

constexpr int kNameRefused = 5, kNoMemoryCode = 6, kOutputIsCutShort = 7;

struct Options {
    std::string archive, directory;
    Talk talk;
};

// A file that disappears with the process on Ctrl-C.
class Unfinished {
public:
    explicit Unfinished(const std::string& path) : path_(path) {
        const SignalsHeld held;
        register_temporary(path_);
    }
    ~Unfinished() {
        const SignalsHeld held;
        strike_temporary(path_);
    }
    Unfinished(const Unfinished&)            = delete;
    Unfinished& operator=(const Unfinished&) = delete;

private:
    const std::string path_;
};

class Unpacking {
public:
    Unpacking(const Options& options, const ArchiveContent& content)
        : options_(options),
          content_(content),
          packer_(options.archive.c_str(), FilePacker::mode_read, nullptr),
          progress_(options.talk.shows_progress(), content.size(), kBytes) {}

    void run() {
        for (const ArchiveEntry& entry : content_.entries) {
            std::string path = options_.directory + "/" + entry.name;
            std::replace(path.begin(), path.end(), '\\', '/');
            if (can_be_unpacked(entry.name))
                unpack_file(entry, path);
            else
                unpack(entry, path);
            done_ += entry.size;
        }
        progress_.update(done_);
        if (refused_.empty()) return;
        throw Failure(options_.archive,
                      std::to_string(refused_.size()) + " entries were refused, such as \"" +
                          refused_.front() + "\", since they do not belong in a directory",
                      "the others are unpacked");
    }

private:
    void unpack_file(const ArchiveEntry& entry, const std::string& path) {
        std::error_code error;
        fs::create_directories(fs::path(path).parent_path(), error);
        if (error) throw Failure(path, "cannot be written: " + error.message(), "clear the way");
        // What is no plain file is refused or not to be removed.
        const fs::file_status status = fs::symlink_status(path, error);
        if (fs::exists(status) && !fs::is_regular_file(status))
            throw Failure(path, "cannot be written: it is not a file", "clear the way");
        if (fs::equivalent(path, options_.archive, error))
            throw Failure(path, "is the archive itself", "name another directory");

        const Unfinished unfinished(path);
        const ProgressWatch watch(progress_, [&, size = entry.size] {
            std::error_code ignored;
            const std::uintmax_t written = fs::file_size(path, ignored);
            return ignored ? done_
                           : done_ + std::min<long long>(static_cast<long long>(written), size);
        });
        unpack(entry, path);
    }

    void unpack(const ArchiveEntry& entry, const std::string& path) {
        char name[200];
        switch (packer_.UnpackFile(options_.directory.c_str(), name)) {
            case 0:
                return;
            case kNameRefused:
                refused_.push_back(entry.name);
                return;
            case kNoMemoryCode:
                throw std::bad_alloc();
            case kOutputIsCutShort: {
                std::error_code ignored;
                fs::remove(path, ignored);
                throw Failure(path, "cannot be written to its end", "make room on the disk");
            }
            default:
                throw Failure(path, "cannot be written", "check its permissions");
        }
    }

    const Options& options_;
    const ArchiveContent& content_;
    FilePacker packer_;
    Progress progress_;
    std::vector<std::string> refused_;
    long long done_ = 0;  // bytes of the entries that are finished
};

int unpack(const Options& options) {
    refuse_backslash(options.directory);
    Talk quiet;
    quiet.is_quiet               = true;
    const ArchiveContent content = read_content(options.archive, quiet);
    std::error_code error;
    fs::create_directories(options.directory, error);
    if (!fs::is_directory(options.directory))
        throw Failure(options.directory, "is not a directory and cannot be made one",
                      "name another directory");
    Unpacking(options, content).run();
    return kDone;
}

}  // namespace

Action add_unpack(CLI::App& app) {
    const auto options = std::make_shared<Options>();
    app.add_option("ARCHIVE", options->archive, "archive to read")->required();
    app.add_option("DIR", options->directory,
                   "directory for the files, made if missing; existing files are replaced")
        ->required();
    add_talk(app, options->talk);
    return [options] { return unpack(*options); };
}

}  // namespace host
