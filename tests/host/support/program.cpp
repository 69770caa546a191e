#include "support/program.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace host_tests {
namespace {

namespace fs = std::filesystem;

std::string content(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Beside the directory: standard output and error of the run.
fs::path stream(fs::path directory, const char* suffix) { return directory += suffix; }

}  // namespace

Workshop::Workshop() {
    std::string name = (fs::temp_directory_path() / "movane-test-XXXXXX").string();
    if (!mkdtemp(name.data())) std::abort();
    directory_ = name;
}

Workshop::~Workshop() {
    for (const char* const suffix : {"", ".out", ".err"})
        fs::remove_all(stream(directory_, suffix));
}

std::vector<std::string> Workshop::files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(directory_))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::string Workshop::read(const std::string& name) const { return content(directory_ / name); }

void Workshop::write(const std::string& name, const std::string& bytes) const {
    fs::create_directories((directory_ / name).parent_path());
    std::ofstream(directory_ / name, std::ios::binary) << bytes;
}

pid_t Workshop::start(const std::string& command) const {
    std::fflush(stdout);  // lest the other process flushes it, too
    const pid_t process = fork();
    if (process != 0) return process;
    const std::string line =
        "PATH=" + fs::path(MOVANE_PROGRAM).parent_path().string() + ":$PATH; exec " + command;
    if (chdir(directory_.c_str()) == 0 &&
        std::freopen(stream(directory_, ".out").c_str(), "w", stdout) &&
        std::freopen(stream(directory_, ".err").c_str(), "w", stderr))
        execl("/bin/sh", "sh", "-c", line.c_str(), nullptr);
    _exit(127);
}

Result Workshop::wait(pid_t process) const {
    int status   = 0;
    rusage usage = {};
    wait4(process, &status, 0, &usage);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status),
            content(stream(directory_, ".out")), content(stream(directory_, ".err")),
            usage.ru_maxrss};
}

void Workshop::expect_failures(const std::string& begin,
                               const std::vector<Failure>& failures) const {
    for (const auto& [command, exit_code, text] : failures) {
        SCOPED_TRACE(begin + command);
        const auto before   = files();
        const Result result = run(begin + command);
        EXPECT_EQ(result.exit_code, exit_code);
        EXPECT_EQ(result.err.rfind("movane: ", 0), 0u) << result.err;
        EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
        EXPECT_NE(result.err.find(text), std::string::npos) << text << " in " << result.err;
        EXPECT_EQ(files(), before);
    }
}

}  // namespace host_tests
