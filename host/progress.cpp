#include "progress.h"

#include "interrupt.h"

#include <unistd.h>

#include <cmath>
#include <cstdio>

namespace host {
namespace {

constexpr std::chrono::milliseconds kInterval{100};

}  // namespace

bool Talk::shows_progress() const { return !is_quiet && (has_progress || isatty(STDERR_FILENO)); }

void add_talk(CLI::App& app, Talk& talk, const char* quiet) {
    app.add_flag("--progress", talk.has_progress, "shows progress also when not on a terminal");
    app.add_flag("-q,--quiet", talk.is_quiet, quiet);
}

Progress::Progress(bool is_shown, long long total, const ProgressUnits& units)
    : is_shown_(is_shown), total_(total), units_(units) {}

Progress::~Progress() {
    if (is_open_) std::fputc('\n', stderr);
}

double Progress::seconds() const {
    return std::chrono::duration<double>(Clock::now() - start_).count();
}

void Progress::update(long long done) {
    if (!is_shown_ || (done == 0 && total_ != 0)) return;
    const auto now = Clock::now();
    if (now < next_ && done < total_) return;
    next_ = now + kInterval;

    const double elapsed = seconds();
    const double steps = static_cast<double>(done), total = static_cast<double>(total_);
    const double rate   = steps / (elapsed > 0 ? elapsed : 1e-9);  // steps per second
    const int remaining = done < total_ ? static_cast<int>(std::ceil((total - steps) / rate)) : 0;
    std::fprintf(stderr, "\r%3.0f %%  %.*f of %.*f %s  %.1f %s  ETA %d:%02d ",
                 done < total_ ? 100 * steps / total : 100, units_.decimals, steps / units_.steps,
                 units_.decimals, total / units_.steps, units_.name, rate / units_.speed_steps,
                 units_.speed, remaining / 60, remaining % 60);
    std::fflush(stderr);
    is_open_ = true;
}

ProgressWatch::ProgressWatch(Progress& progress, std::function<long long()> done) {
    if (!progress.is_shown()) return;
    const SignalsHeld held;  // by the thread, for its whole life: they are the main thread's
    thread_.emplace([this, &progress, done = std::move(done)](const std::stop_token& stop) {
        std::unique_lock lock(mutex_);
        const auto is_stopped = [&] { return stop.stop_requested(); };
        while (!condition_.wait_for(lock, stop, kInterval, is_stopped) && !is_stopped())
            progress.update(done());
    });
}

}  // namespace host
