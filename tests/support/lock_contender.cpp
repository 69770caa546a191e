// A process that wants a lock: helper of the tests of lock files and critical sections.
//
//   lock_contender contend PATH    takes and frees the lock many times; exit status 1 when another
//                                  holder was met, 2 when the lock was not to be had
//   lock_contender hold PATH       takes the lock, makes the directory PATH.held and waits
//   ... contend-section, hold-section    the same with a critical section
//   lock_contender ...             otherwise the exit status is 10 and the number of arguments

#include "movane/foundation.h"
#include "movane/services.h"

#include <filesystem>
#include <string>

int main(int count, char** arguments) {
    constexpr int kTimes = 25, kTries = 60000;
    const std::string role = count == 3 ? arguments[1] : "";
    const bool contends    = role.starts_with("contend");
    const bool in_section  = role.ends_with("-section");
    if (!contends && !role.starts_with("hold")) return 10 + count - 1;
    const std::string path = arguments[2], mark = path + ".held";

    TCriticSect section(path.c_str(), 1);
    void* lock      = nullptr;
    const auto take = [&] {
        if (in_section) return section.Enter(60.0) == 0;
        lock = flock_get(path.c_str());
        return lock != nullptr;
    };
    int tries = 0;
    for (int taken = 0; taken < kTimes;) {
        if (!take()) {
            if (++tries == kTries) return 2;
            waitmsec(1);
            continue;
        }
        // Only one process at a time succeeds in making a directory.
        if (!std::filesystem::create_directory(mark)) return 1;
        waitmsec(contends ? 1 : 60000);
        std::filesystem::remove(mark);
        if (in_section) {
            section.Leave();
        } else {
            flock_free(lock);
        }
        ++taken;
    }
    return 0;
}
