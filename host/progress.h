// One line on standard error that tells how far a run has come, rewritten a few times a second.
#pragma once

#include <CLI/CLI.hpp>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace host {

/// How much a subcommand says. Quiet wins over progress.
struct Talk {
    bool has_progress = false, is_quiet = false;

    bool shows_progress() const;
};

/// @param quiet  what the user reads about -q
void add_talk(CLI::App& app, Talk& talk, const char* quiet = "no progress");

/// What is counted, and how it is printed.
struct ProgressUnits {
    const char* name;
    double steps;  // counted steps in one unit
    int decimals;
    const char* speed;   // per second
    double speed_steps;  // counted steps in one unit of speed
};

inline constexpr ProgressUnits kBytes = {"MB", 1e6, 1, "MB/s", 1e6};

/// Lines of an image, their speed in pixels.
constexpr ProgressUnits lines_of(int width) { return {"lines", 1, 0, "Mpx/s", 1e6 / width}; }

class Progress {
public:
    /// @param is_shown  otherwise nothing is ever printed
    Progress(bool is_shown, long long total, const ProgressUnits& units);
    ~Progress();
    Progress(const Progress&)            = delete;
    Progress& operator=(const Progress&) = delete;

    /// To be called with the steps done, as often as is convenient.
    void update(long long done);

    bool is_shown() const { return is_shown_; }
    double seconds() const;

private:
    using Clock = std::chrono::steady_clock;

    bool is_shown_, is_open_ = false;
    long long total_;
    ProgressUnits units_;
    Clock::time_point start_ = Clock::now(), next_ = start_;
};

/// Updates a progress line during a call that does not return for long.
class ProgressWatch {
public:
    /// @param done  tells the steps done; called on a thread of its own
    ProgressWatch(Progress& progress, std::function<long long()> done);

private:
    std::mutex mutex_;
    std::condition_variable_any condition_;
    std::optional<std::jthread> thread_;  // last: ends first
};

}  // namespace host
