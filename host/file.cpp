#include "file.h"

#include "failure.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

namespace host {

File open_input(const std::string& path, bool accepts_streams) {
    struct stat status  = {};
    const bool is_there = stat(path.c_str(), &status) == 0;
    const bool is_file  = S_ISREG(status.st_mode) || (accepts_streams && !S_ISDIR(status.st_mode));
    if (is_there && !is_file) throw Failure(path, "is not a file", "name a file");
    File file(is_there ? std::fopen(path.c_str(), "rb") : nullptr);
    if (!file)
        throw Failure(path, std::string("cannot be read: ") + std::strerror(errno),
                      errno == ENOENT ? "check the name" : "check its permissions");
    return file;
}

std::vector<unsigned char> read_input(const std::string& path, std::size_t limit) {
    const File file = open_input(path);
    std::vector<unsigned char> bytes;
    unsigned char block[65536];
    while (const std::size_t length = std::fread(block, 1, sizeof block, file.get())) {
        bytes.insert(bytes.end(), block, block + length);
        if (bytes.size() > limit) throw Failure(path, "is too large", "name another file");
    }
    if (std::ferror(file.get())) throw Failure(path, "cannot be read", "check the disk");
    return bytes;
}

}  // namespace host
