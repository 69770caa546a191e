// Named vectors of doubles in a record file, each an item string of the topic "patches".

#include "movane/services.h"

#include "movane/foundation.h"

#include "Engine/rdb.h"
#include "Support/memory.h"
#include "Support/report.h"

#include <cstdio>
#include <cstring>
#include <string_view>

namespace {

constexpr movane::Reporter report{"MOVANE/Private/Source/file_double"};

constexpr std::size_t kPathSize       = 128;
constexpr std::size_t kLongestText    = 256;  // characters of a name or an item string
constexpr std::size_t kBytesOfADouble = 330;  // at most, in an item string
constexpr int kMostValues             = 43;   // of 4 characters each, the least, fill a text

constexpr const char* kTopic    = "patches";
constexpr const char* kReserved = "_internal_";  // items that are not the host's

}  // namespace

struct file_double {
    char path[kPathSize];
    rdb* database;
    rdb_rfile* records;
    int nr_values;
    std::size_t position;         // of the next item to list
    char name[kLongestText + 1];  // of the item listed last

    ~file_double() { rdb_close(database); }
};

namespace {

bool is_blank(char c) { return c == ' ' || c == '\t'; }

// True for names that are read back as they are.
bool is_name(std::string_view name) {
    return !name.empty() && name.size() <= kLongestText &&
           name.find_first_of("=\r\n") == name.npos && name.front() != '[' &&
           !is_blank(name.front()) && !is_blank(name.back());
}

bool open_records(file_double& file, bool is_new) {
    file.records = is_new ? rdb_create_rfile(file.database, file.path)
                          : rdb_push_rfile(file.database, file.path);
    return file.records &&
           (rdb_search(file.records, kTopic) || rdb_add_topic(file.records, kTopic) == 0);
}

}  // namespace

// --- item strings ------------------------------------------------------------------------------

int vd_from_str(const char* text, int n, double* values) {
    if (str_double_from_itemstr(text, n, values) == 0) return 0;
    report("Error bad item string for double conversions");
    return -1;
}

int str_from_vd(const double* values, int n, char* text) {
    const int result = str_itemstr_from_double(values, n, text);
    if (result == 0) return 0;
    report(movane::Formatted("Error bad formatted item string from doubles, ier %d ", result));
    return -1;
}

// --- life cycle --------------------------------------------------------------------------------

file_double* file_double_new(const char* path, int nr_values, int create) {
    if (std::strlen(path) >= kPathSize) {
        report("file_double_new: path too long");
        return nullptr;
    }
    movane::Owned<file_double> file = movane::create<file_double>();
    if (file) file->database = rdb_open();
    if (!file || !file->database) {
        report("file_double_new: Not enough resources");
        return nullptr;
    }
    std::strcpy(file->path, path);
    file->nr_values = nr_values;
    if (!open_records(*file, create != 0)) {
        report("file_double_new: Unable to open record file");
        return nullptr;
    }
    return file.release();
}

file_double* file_double_kill(file_double* file) {
    movane::destroy(file);
    return nullptr;
}

// --- records -----------------------------------------------------------------------------------

int file_double_add_item(file_double* file, const char* name, const double* values) {
    if (!is_name(name)) {
        report("file_double_add_item: illegal name");
        return -1;
    }
    char text[kMostValues * kBytesOfADouble + 1] = "";
    if (file->nr_values <= kMostValues && str_from_vd(values, file->nr_values, text) != 0)
        return -1;
    normstr_wc(text);
    if (file->nr_values > kMostValues || std::strlen(text) > kLongestText) {
        report("file_double_add_item: too many values");
        return -1;
    }
    if (rdb_add_item(file->records, kTopic, name, text) != 0) {
        report("file_double_add_item: Not enough resources");
        return -1;
    }
    return 0;
}

char* file_double_list(file_double* file, int* state, double* values) {
    if (*state != 1) file->position = 0;
    *state = 1;
    for (;;) {
        char text[kLongestText + 1];
        const int found = rdb_list_item(file->records, kTopic, &file->position, file->name, text);
        if (found == 0) return nullptr;
        if (found < 0) {
            report("file_double_list: damaged line skipped");
            continue;
        }
        if (strcmp_ci(file->name, kReserved) == 0) continue;
        if (vd_from_str(text, file->nr_values, values) == 0) return file->name;
    }
}

int file_double_save(file_double* file) {
    if (rdb_flush(file->database) == 0) return 0;
    report("file_double_save: Unable to save record file");
    return -1;
}
