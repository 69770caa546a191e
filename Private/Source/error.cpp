// Error reporter: one process-wide place where failures, warnings and debug remarks go.
//
// The host decides once, through the mode, what becomes of a failure's message. The collecting
// mode keeps its lines in a sorted list; lists report their own failures here, so a message that
// arrives while one is being stored is dropped instead of recursing.

#include "movane/foundation.h"

#include "Engine/runtime.h"

#include <cstdio>
#include <cstring>

namespace {

constexpr int kLineSize  = 512;  // composed lines, terminator included
constexpr int kSlotSize  = 256;  // collected lines, terminator included
constexpr int kStoreStep = 50;   // slots of the store, at first and per growth

enum Mode { kPrint = 1, kCollect = 2, kKeepLast = 3 };

// process-wide: the reporter's state.
// Invariant: a store exists only in mode kCollect.
struct State {
    int mode                     = kPrint;
    movane_list* store           = nullptr;
    char last_message[kLineSize] = "";  // also what error_get() returns, in every mode
    bool message_pending         = false;
    bool storing                 = false;
    int warning_threshold        = 0;
    int debug_switch             = 0;
};
constinit State state;

void compose(char (&line)[kLineSize], const char* prefix_template, const char* message) {
    fmtstr(line, prefix_template, message ? message : "");
}

void print(const char* line) {
    std::printf("%s\n", line);
    std::fflush(stdout);
}

// Cut to a slot before comparing: two lines that agree in a slot's length are one.
void store_unless_known(const char* line) {
    char slot[kSlotSize] = "";
    strncpy_w0(slot, line, kSlotSize - 1);

    const int position    = list_pos(state.store, slot);
    const void* neighbour = list_get_element(state.store, position);
    if (neighbour && strcmp_ci(static_cast<const char*>(neighbour), slot) == 0) return;
    list_insert(state.store, slot);
}

}  // namespace

// --- failures ----------------------------------------------------------------------------

int error_mess_fl(const char* message, const char* /*file*/, int /*line*/) {
    char line[kLineSize];
    compose(line, "ERROR : '", message);
    switch (state.mode) {
        case kPrint:
            print(line);
            break;
        case kCollect:
            if (!state.store || state.storing) break;
            state.storing = true;
            store_unless_known(line);
            state.storing = false;
            break;
        case kKeepLast:
            state.message_pending = true;
            strncpy_w0(state.last_message, line, kLineSize - 1);
            break;
        default:
            break;
    }
    return 0;
}

char* error_get(void) {
    if (state.store) {
        const int last = list_num(state.store) - 1;
        if (last < 0) return nullptr;
        std::memcpy(state.last_message, list_get_element(state.store, last), kSlotSize);
        list_rem_element(state.store, last);
        return state.last_message;
    }
    if (!state.message_pending) return nullptr;
    state.message_pending = false;
    return state.last_message;
}

int error_exit(const char* message) {
    char line[kLineSize];
    compose(line, "ERROR  : '", message);
    errexit(line);
}

void error_display_all_msgs(void) {
    while (const char* line = error_get()) print(line);
}

int error_set(int mode) {
    const int previous    = state.mode;
    state.mode            = mode;
    state.message_pending = false;
    if (mode == kCollect && !state.store) {
        state.store = list_new(kStoreStep, kSlotSize, str_ins);
        if (!state.store) state.mode = previous;
    }
    if (mode != kCollect) state.store = list_kill(state.store);
    return previous;
}

// --- warnings and debug remarks -------------------------------------------------------------

int movane_warn_level(int level) {
    const int previous      = state.warning_threshold;
    state.warning_threshold = level;
    return previous;
}

void movane_warn(int level, const char* message) {
    if (level <= state.warning_threshold) return;
    char line[kLineSize];
    compose(line, "WARNING  : '", message);
    print(line);
}

int dbg_set(int on) {
    const int previous = state.debug_switch;
    state.debug_switch = on;
    return previous;
}

void dbg(const char* message) {
    if (!state.debug_switch) return;
    char line[kLineSize];
    compose(line, "DEBUG : '", message);
    print(line);
}
