// Stopping on a signal without leaving unfinished files behind.
#pragma once

#include <csignal>
#include <string>

namespace host {

/// From here on SIGINT, SIGTERM and SIGHUP remove the registered temporary files and end the
/// process with 128 plus the signal's number (130 for Ctrl-C). A signal that was ignored when the
/// program started stays ignored.
void remove_temporaries_on_interrupt();

/// Registers a file for removal, or strikes it off. Call both while SignalsHeld lives, together
/// with what creates or renames the file.
void register_temporary(const std::string& path);
void strike_temporary(const std::string& path);

/// Delays those signals while it lives.
class SignalsHeld {
public:
    SignalsHeld();
    ~SignalsHeld();
    SignalsHeld(const SignalsHeld&)            = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;

private:
    sigset_t previous_;
};

}  // namespace host
