// Handles that release themselves.
#pragma once

#include <gtest/gtest.h>

#include <utility>

namespace movane_tests {

/// Owns what a `*_new` gave, which may be null, and stands in for it: Handle(list_new(...),
/// list_kill). Expects null, or 0, of the call that releases it.
template <class Record, class Result>
class Handle {
public:
    Handle(Record* record, Result (*kill)(Record*)) : record_(record), kill_(kill) {}
    Handle(Handle&& other) noexcept
        : record_(std::exchange(other.record_, nullptr)), kill_(other.kill_) {}
    ~Handle() { EXPECT_EQ(kill_(record_), Result{}); }
    operator Record*() const { return record_; }

private:
    Record* record_;
    Result (*kill_)(Record*);
};

}  // namespace movane_tests
