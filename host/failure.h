// How a run ends: exit codes, and the one line that tells the user why.
#pragma once

#include <stdexcept>
#include <string>

namespace host {

enum ExitCode : int { kDone = 0, kFailed = 1, kUsage = 2, kCheckFailed = 3 };

/// A file or a profile stands in the way. The line names it and what to do about it.
struct Failure : std::runtime_error {
    Failure(const std::string& file, const std::string& problem, const std::string& remedy)
        : std::runtime_error(file + ": " + problem + "; " + remedy) {}
};

/// The command line asks for something that cannot be meant.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Tells the user in one line what went wrong.
///
/// @return  `code`
int fail(std::string message, int code);

}  // namespace host
