// Files from outside, opened with words for what can be wrong with them.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace host {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

/// Opens a file to read; throws Failure when it is missing, not a file or not readable.
///
/// @param accepts_streams  whether a pipe or a device will do
File open_input(const std::string& path, bool accepts_streams = false);

/// Reads a whole file; throws Failure also when it is larger than `limit` bytes.
std::vector<unsigned char> read_input(const std::string& path, std::size_t limit);

}  // namespace host
