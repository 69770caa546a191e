// Reading back what a call posted.
#pragma once

#include "movane/foundation.h"

#include <gtest/gtest.h>

#include <string>

namespace movane_tests {

/// Keeps the latest message while it lives, so that failing calls print nothing.
class MessageCapture {
public:
    MessageCapture() : previous_mode_(error_set(3)) {}
    ~MessageCapture() { error_set(previous_mode_); }
    MessageCapture(const MessageCapture&)            = delete;
    MessageCapture& operator=(const MessageCapture&) = delete;

    /// The latest message without the reporter's prefix, which is then forgotten; "" for none.
    static std::string take() {
        const char* line = error_get();
        return line ? std::string(line).substr(sizeof "ERROR : " - 1) : std::string();
    }

private:
    int previous_mode_;
};

/// The message that a call posts, "" for none: EXPECT_EQ(message_of([&] { list_new(...); }), "").
template <class Call>
std::string message_of(Call call) {
    const MessageCapture capture;
    call();
    return MessageCapture::take();
}

/// What a call returns and, if it posts one, its message: "-1 rsys_mkdir : Unable to ...".
template <class Call>
std::string outcome_of(Call call) {
    const MessageCapture capture;
    const int result         = call();
    const std::string posted = MessageCapture::take();
    return std::to_string(result) + (posted.empty() ? "" : " " + posted);
}

/// Expects what a call gives when it fails and, from a MessageCapture that was alive, what it
/// posts.
template <class Result, class Failure>
void expect_failed(const Result& result, const Failure& failure, const std::string& message) {
    EXPECT_EQ(result, failure) << message;
    EXPECT_EQ(MessageCapture::take(), message);
}

}  // namespace movane_tests
