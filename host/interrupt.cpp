// The handler does all the work itself, at once: a run may sit deep inside an image library when
// the signal arrives. So it uses nothing but fixed memory and calls that are safe in a handler.

#include "interrupt.h"

#include <unistd.h>

#include <array>
#include <climits>
#include <cstring>
#include <stdexcept>

namespace host {
namespace {

constexpr std::array kSignals          = {SIGINT, SIGTERM, SIGHUP};
constexpr std::size_t kMostTemporaries = 32;  // a gamut has the most files: 25

// process-wide: names of the files to remove, "" for a free place; written with signals held.
std::array<std::array<char, PATH_MAX>, kMostTemporaries> temporaries;

// process-wide: set before the handler is installed.
bool is_terminal;

void say(const char* text) {
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text, std::strlen(text));
}

void on_signal(int signal) {
    for (const auto& path : temporaries)
        if (path[0] != '\0') unlink(path.data());
    if (is_terminal) say("\n");  // behind a progress line
    say("movane: interrupted, unfinished output was removed\n");
    _exit(128 + signal);
}

}  // namespace

void remove_temporaries_on_interrupt() {
    is_terminal             = isatty(STDERR_FILENO) != 0;
    struct sigaction action = {};
    action.sa_handler       = on_signal;
    sigfillset(&action.sa_mask);
    for (const int signal : kSignals) {
        struct sigaction inherited;
        if (sigaction(signal, nullptr, &inherited) == 0 && inherited.sa_handler != SIG_IGN)
            sigaction(signal, &action, nullptr);
    }
    // Writing to a full disk or a closed pipe is to fail as a call, where it is cleaned up.
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
}

void register_temporary(const std::string& path) {
    for (auto& place : temporaries) {
        if (place[0] == '\0' && path.size() < place.size()) {
            std::memcpy(place.data(), path.c_str(), path.size() + 1);
            return;
        }
    }
    throw std::logic_error("no place for another temporary file");
}

void strike_temporary(const std::string& path) {
    for (auto& place : temporaries)
        if (path == place.data()) place[0] = '\0';
}

SignalsHeld::SignalsHeld() {
    sigset_t held;
    sigemptyset(&held);
    for (const int signal : kSignals) sigaddset(&held, signal);
    sigprocmask(SIG_BLOCK, &held, &previous_);
}

SignalsHeld::~SignalsHeld() { sigprocmask(SIG_SETMASK, &previous_, nullptr); }

}  // namespace host
