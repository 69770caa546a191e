// Running the program in a directory of its own.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
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

    std::string path(const std::string& name) const { return (directory_ / name).string(); }

    /// Names of the files there, sorted, hidden ones included.
    std::vector<std::string> files() const;

    std::string read(const std::string& name) const;
    void write(const std::string& name, const std::string& bytes) const;

    /// Runs a command line of the shell in this directory: "movane separate ..." or another
    /// program.
    Result run(const std::string& command) const { return wait(start(command)); }

    struct Failure {
        std::string command;
        int exit_code;
        std::string text;
    };

    /// Runs commands, all of which begin alike. Each has to fail with one line on standard error,
    /// in which its text stands, and to leave no file behind.
    void expect_failures(const std::string& begin, const std::vector<Failure>& failures) const;

    pid_t start(const std::string& command) const;
    Result wait(pid_t process) const;

private:
    std::filesystem::path directory_;
};

}  // namespace host_tests
