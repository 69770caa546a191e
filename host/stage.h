// The stages that a photo passes on its way to the press. Each keeps no more than a few lines.
#pragma once

#include "line.h"

#include <exception>
#include <utility>

namespace host {

class Stage {
public:
    Stage()                        = default;
    virtual ~Stage()               = default;
    Stage(const Stage&)            = delete;
    Stage& operator=(const Stage&) = delete;

    /// Takes the next line, from the top. Lines may come out later, in another number, or both.
    ///
    /// @param line  may be changed; not needed after the call
    virtual void take(Line& line) = 0;

    /// Says where the lines go; the last stage of a chain leads nowhere.
    void lead_to(Stage& next) { next_ = &next; }

protected:
    void hand_on(Line& line) {
        if (next_) next_->take(line);
    }

private:
    Stage* next_ = nullptr;
};

/// For callbacks of the library, which no exception may leave: what a later stage throws waits
/// until the library has returned.
class CallbackGuard {
public:
    /// Does nothing once something was thrown.
    template <class Work>
    void run(Work work) noexcept {
        if (thrown_) return;
        try {
            work();
        } catch (...) {
            thrown_ = std::current_exception();
        }
    }

    void rethrow() {
        if (thrown_) std::rethrow_exception(std::exchange(thrown_, nullptr));
    }

private:
    std::exception_ptr thrown_;
};

}  // namespace host
