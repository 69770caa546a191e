#include "support/program.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
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

void redirect(int stream, const fs::path& path) {
    dup2(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), stream);
}

fs::path new_directory() {
    std::string name = (fs::temp_directory_path() / "movane-test-XXXXXX").string();
    if (!mkdtemp(name.data())) std::abort();
    return name;
}

}  // namespace

Workshop::Workshop() : directory_(new_directory()), streams_(new_directory()) {}

Workshop::~Workshop() {
    fs::remove_all(directory_);
    fs::remove_all(streams_);
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

pid_t Workshop::start(const std::vector<std::string>& command, const Environment& environment,
                      long file_limit_bytes) const {
    std::vector<char*> arguments;
    for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);

    const pid_t process = fork();
    if (process != 0) return process;
    redirect(STDOUT_FILENO, streams_ / "out");
    redirect(STDERR_FILENO, streams_ / "err");
    for (const auto& [name, value] : environment) setenv(name.c_str(), value.c_str(), 1);
    if (file_limit_bytes >= 0) {
        const auto bytes = static_cast<rlim_t>(file_limit_bytes);
        const rlimit limit{bytes, bytes};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    if (chdir(directory_.c_str()) == 0)
        execvp(command[0] == "movane" ? MOVANE_PROGRAM : arguments[0], arguments.data());
    _exit(127);
}

Result Workshop::wait(pid_t process) const {
    int status   = 0;
    rusage usage = {};
    wait4(process, &status, 0, &usage);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status),
            content(streams_ / "out"), content(streams_ / "err"), usage.ru_maxrss};
}

Result Workshop::run(const std::vector<std::string>& command, const Environment& environment,
                     long file_limit_bytes) const {
    return wait(start(command, environment, file_limit_bytes));
}

}  // namespace host_tests
