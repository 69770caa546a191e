// Running the program in a directory of its own.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace host_tests {

struct Result {
    int exit_code;  // 128 plus the signal's number for a program that a signal has ended
    std::string out, err;
    long peak_kib;  // memory
};

/// A directory that disappears with the test, and runs of the program inside it.
class Workshop {
public:
    Workshop();
    ~Workshop();
    Workshop(const Workshop&)            = delete;
    Workshop& operator=(const Workshop&) = delete;

    std::string path(const std::string& name) const { return (directory_ / name).string(); }

    /// Names of the files there, sorted, hidden ones included.
    std::vector<std::string> files() const;

    std::string read(const std::string& name) const;
    void write(const std::string& name, const std::string& bytes) const;

    using Environment = std::vector<std::pair<std::string, std::string>>;

    /// Runs the command line, in this directory: "movane separate ..." or another program.
    Result run(const std::vector<std::string>& command, const Environment& environment = {},
               long file_limit_bytes = -1) const;

    pid_t start(const std::vector<std::string>& command, const Environment& environment = {},
                long file_limit_bytes = -1) const;
    Result wait(pid_t process) const;

private:
    std::filesystem::path directory_;
    std::filesystem::path streams_;  // beside it: standard output and error of the run
};

}  // namespace host_tests
