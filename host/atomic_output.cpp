#include "atomic_output.h"

#include "failure.h"
#include "file.h"
#include "interrupt.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace host {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void refuse(const std::string& target, const std::string& problem) {
    throw Failure(target, "cannot be written: " + problem,
                  "name a file in a directory that you may write to");
}

mode_t mode_of_new_files() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

}  // namespace

AtomicOutput::AtomicOutput(const std::string& target) : target_(target) {
    std::error_code error;
    if (fs::is_symlink(target_, error)) target_ = fs::weakly_canonical(target_, error).string();
    const fs::file_status status = fs::status(target_, error);
    if (fs::exists(status) && !fs::is_regular_file(status)) refuse(target, "it is not a file");

    const fs::path path = target_;
    if (!path.has_filename()) refuse(target, "it names no file");
    // Not longer than the name of the target can be.
    temporary_ = (path.parent_path() / ".movane.XXXXXX").string();

    const SignalsHeld held;
    const int file = mkstemp(temporary_.data());
    if (file < 0) refuse(target, std::strerror(errno));
    fchmod(file, mode_of_new_files());
    close(file);
    register_temporary(temporary_);
}

AtomicOutput::~AtomicOutput() {
    if (temporary_.empty()) return;
    const SignalsHeld held;
    unlink(temporary_.c_str());
    strike_temporary(temporary_);
}

void AtomicOutput::write(const std::string& bytes) const {
    const File file(std::fopen(temporary_.c_str(), "wb"));
    if (!file || std::fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size() ||
        std::fflush(file.get()) != 0)
        throw Failure(target_, "cannot be written", "check the space on the disk");
}

void AtomicOutput::commit() {
    const SignalsHeld held;
    if (std::rename(temporary_.c_str(), target_.c_str()) != 0)
        refuse(target_, std::strerror(errno));
    strike_temporary(temporary_);
    temporary_.clear();
}

void refuse_overwriting(const std::string& output, const std::string& input) {
    std::error_code error;
    const auto place = [&](const fs::path& file) {
        return fs::weakly_canonical(fs::absolute(file, error), error);
    };
    // One file may have two names; one name may be written in two ways before there is a file.
    if (fs::equivalent(output, input, error) || place(output) == place(input))
        throw UsageError(output + ": would overwrite " + input + "; name another file");
}

}  // namespace host
