#include "Platform/process.h"

#include "Support/memory.h"

#include <cerrno>
#include <csignal>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace movane::process {

Child start(std::span<const char* const> arguments) noexcept {
    const Block<char*> list = make_block<char*>(arguments.size() + 1);
    if (!list) return 0;
    std::size_t count = 0;
    for (const char* argument : arguments) list[count++] = const_cast<char*>(argument);
    list[count] = nullptr;

    pid_t child = 0;
    if (::posix_spawn(&child, list[0], nullptr, nullptr, list.get(), environ) != 0) return 0;
    return child;
}

int wait(Child child) noexcept {
    int status = 0;
    while (::waitpid(static_cast<pid_t>(child), &status, 0) == -1) {
        if (errno != EINTR) return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void kill(Child child) noexcept { ::kill(static_cast<pid_t>(child), SIGKILL); }

}  // namespace movane::process
