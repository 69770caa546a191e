#include "Engine/rdb.h"

#include "movane/foundation.h"
#include "movane/services.h"

#include "Platform/files.h"
#include "Support/memory.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string_view>
#include <utility>

namespace files = movane::files;

namespace {

constexpr std::size_t kPathSize = 256;  // bytes, terminator included
constexpr std::size_t kTextSize = 257;  // of a name or a value

constexpr std::int64_t kLargestFile = INT32_MAX;  // bytes; twice that still fits a std::size_t

constexpr int kTemporaryNames = 100;  // tried; those that exist are of other processes, or of dead

constexpr std::string_view kLineEnds = "\r\n";

}  // namespace

// Invariants: text holds `capacity` bytes, of which `size` are the parameter text and one more is
// its terminator.
struct rdb_rfile {
    char path[kPathSize];
    std::size_t size, capacity;
    movane::Block<char> text;
    movane::Owned<rdb_rfile> next;
};

struct rdb {
    movane::Owned<rdb_rfile> files;
};

namespace {

// --- the text in memory ------------------------------------------------------------------------

bool reserve(rdb_rfile& file, std::size_t size) {
    if (size < file.capacity) return true;
    const std::size_t capacity = std::max(2 * file.capacity, size + 1);
    movane::Block<char> larger = movane::make_block<char>(capacity);
    if (!larger) return false;
    if (file.text) std::memcpy(larger.get(), file.text.get(), file.size + 1);
    file.text     = std::move(larger);
    file.capacity = capacity;
    return true;
}

// Inserts a line, and the end of the line before it where that is missing.
bool insert_line(rdb_rfile& file, const char* place,
                 std::initializer_list<std::string_view> parts) {
    const auto at          = static_cast<std::size_t>(place - file.text.get());
    const bool ends_before = at == 0 || kLineEnds.find(place[-1]) != kLineEnds.npos;
    std::size_t added      = ends_before ? 1 : 2;
    for (const std::string_view part : parts) added += part.size();
    if (!reserve(file, file.size + added)) return false;

    char* pos = file.text.get() + at;
    std::memmove(pos + added, pos, file.size + 1 - at);
    if (!ends_before) *pos++ = '\n';
    for (const std::string_view part : parts) pos = std::copy(part.begin(), part.end(), pos);
    *pos = '\n';
    file.size += added;
    return true;
}

// The line behind a topic's header; null when there is no such topic.
char* behind_header(const rdb_rfile& file, const char* topic) {
    char* pos = file.text.get();
    char name[kTextSize];
    while (str_get_next_rdb_topic(&pos, name) == 0) {
        if (strcmp_ci(name, topic) == 0) return pos;
    }
    return nullptr;
}

char first_visible(const char* line) { return line[std::strspn(line, " \t")]; }

bool ends_topic(const char* line) {
    const char first = first_visible(line);
    return first == '[' || first == '\0';
}

// Zero bytes would end the text. The lines that hold them become such that are no items.
void mark_lines_with_zero_bytes(char* text, std::size_t size) {
    char* const end = text + size;
    for (char* line = text; line < end;) {
        char* const line_end = std::find_first_of(line, end, kLineEnds.begin(), kLineEnds.end());
        if (std::find(line, line_end, '\0') != line_end) {
            std::replace_if(
                line, line_end, [](char c) { return c == '\0' || c == '=' || c == '['; }, '?');
        }
        line = std::min(line_end + 1, end);
    }
}

// --- the file ----------------------------------------------------------------------------------

bool load(rdb_rfile& file) {
    const files::Descriptor in(files::open(file.path, files::kRead));
    files::Status status;
    if (!in || !files::status(in.get(), status) || status.size > kLargestFile) return false;
    const auto size = static_cast<std::size_t>(status.size);
    if (!reserve(file, size)) return false;
    while (file.size < size) {
        const std::int64_t got =
            files::read(in.get(), file.text.get() + file.size, size - file.size);
        if (got < 0) return false;
        if (got == 0) break;
        file.size += static_cast<std::size_t>(got);
    }
    file.text[file.size] = '\0';
    mark_lines_with_zero_bytes(file.text.get(), file.size);
    return true;
}

bool save(const rdb_rfile& file) {
    files::Status found;
    if (files::status(file.path, found) && (!found.is_plain_file || found.is_read_only))
        return false;

    char temporary[kPathSize + 16];
    files::Descriptor out(files::kNone);
    for (int i = 0; i < kTemporaryNames && !out; ++i) {
        std::snprintf(temporary, sizeof temporary, "%s.tmp%d", file.path, i);
        out = files::Descriptor(
            files::open(temporary, files::kWrite | files::kCreate | files::kExclusive));
    }
    if (!out) return false;
    const bool is_written =
        files::write_all(out.get(), file.text.get(), file.size) && files::flush(out.get());
    if (out.close() && is_written && files::rename(temporary, file.path)) return true;
    files::remove(temporary);
    return false;
}

rdb_rfile* add_file(rdb& database, const char* path, bool is_read) {
    if (std::strlen(path) >= kPathSize) return nullptr;
    movane::Owned<rdb_rfile> file = movane::create<rdb_rfile>();
    if (!file) return nullptr;
    std::strcpy(file->path, path);
    if (!reserve(*file, 0)) return nullptr;
    file->text[0] = '\0';
    if (is_read && !load(*file)) return nullptr;
    file->next     = std::move(database.files);
    database.files = std::move(file);
    return database.files.get();
}

}  // namespace

// --- life cycle --------------------------------------------------------------------------------

rdb* rdb_open(void) { return movane::create<rdb>().release(); }

rdb_rfile* rdb_push_rfile(rdb* database, const char* path) {
    return add_file(*database, path, true);
}

rdb_rfile* rdb_create_rfile(rdb* database, const char* path) {
    return add_file(*database, path, false);
}

int rdb_flush(rdb* database) {
    int result = 0;
    for (const rdb_rfile* file = database->files.get(); file; file = file->next.get()) {
        if (!save(*file)) result = -1;
    }
    return result;
}

void rdb_close(rdb* database) { movane::destroy(database); }

// --- topics and items --------------------------------------------------------------------------

int rdb_search(const rdb_rfile* file, const char* topic) {
    return behind_header(*file, topic) != nullptr;
}

int rdb_add_topic(rdb_rfile* file, const char* topic) {
    return insert_line(*file, file->text.get() + file->size, {"[", topic, "]"}) ? 0 : -1;
}

int rdb_add_item(rdb_rfile* file, const char* topic, const char* name, const char* value) {
    char* pos = behind_header(*file, topic);
    if (!pos) return -1;
    while (!ends_topic(pos)) str_go_to_next_line(&pos);
    return insert_line(*file, pos, {name, " = ", value}) ? 0 : -1;
}

int rdb_list_item(const rdb_rfile* file, const char* topic, std::size_t* position, char* name,
                  char* value) {
    char* const text = file->text.get();
    char* pos        = *position ? text + *position : behind_header(*file, topic);
    if (!pos) return 0;
    while (kLineEnds.find(first_visible(pos)) != kLineEnds.npos) str_go_to_next_line(&pos);

    int result = 0;
    if (str_get_rdb_item_name(&pos, name) == 0) {
        str_get_next_rdb_item(&pos, name, value);
        result = 1;
    } else if (!ends_topic(pos)) {
        str_go_to_next_line(&pos);
        result = -1;
    }
    *position = static_cast<std::size_t>(pos - text);
    return result;
}
