// What the subcommands of archives share.
#pragma once

#include "progress.h"

#include <movane/services.h>

#include <string>
#include <vector>

namespace host {

struct ArchiveEntry {
    std::string name;
    long size;  // bytes
};

struct ArchiveContent {
    std::string description;
    std::vector<ArchiveEntry> entries;
    long long size() const;  // bytes of all entries
};

/// Reads an archive through; throws Failure when it is not one, or damaged.
ArchiveContent read_content(const std::string& archive, const Talk& talk);

/// The name under which a file is stored: its path without the root and levels upward.
std::string stored_name(const std::string& file);

/// True for names that can be unpacked on every system.
bool can_be_unpacked(const std::string& name);

/// Throws Failure for a path with "\", which the library takes for a separator.
void refuse_backslash(const std::string& path);

}  // namespace host
