// A directory that a test has to itself, and the few file operations that tests need, apart from
// the library's own.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <sstream>
#include <string>

namespace movane_tests {

inline std::filesystem::path path_of(const std::string& utf8) {
    return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

/// Made with the object, removed with all that is in it at the object's end.
class TemporaryDirectory {
public:
    TemporaryDirectory() {
        std::random_device random;
        do {
            path_ = std::filesystem::temp_directory_path() / ("movane-" + std::to_string(random()));
        } while (!std::filesystem::create_directory(path_));
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&)            = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    /// The UTF-8 path of something in the directory, with "/" between levels.
    std::string operator/(const std::string& name) const {
        const std::u8string joined = (path_ / path_of(name)).generic_u8string();
        return {joined.begin(), joined.end()};
    }

private:
    std::filesystem::path path_;
};

inline void write_file(const std::string& path, const std::string& bytes) {
    std::ofstream(path_of(path), std::ios::binary) << bytes;
}

/// "" also when there is no such file.
inline std::string read_file(const std::string& path) {
    std::ifstream in(path_of(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

inline bool exists(const std::string& path) {
    return std::filesystem::exists(std::filesystem::symlink_status(path_of(path)));
}

/// All that is below a directory, in the order of the names: "a/ a/empty/ a/file=its bytes ".
inline std::string tree_of(const std::string& directory) {
    std::set<std::string> tree;
    const std::filesystem::path top = path_of(directory);
    for (const auto& entry : std::filesystem::recursive_directory_iterator(top)) {
        const std::u8string below = entry.path().lexically_relative(top).generic_u8string();
        const std::string name(below.begin(), below.end());
        tree.insert(name + (entry.is_directory() ? "/" : "=" + read_file(directory + "/" + name)));
    }
    std::string text;
    for (const std::string& entry : tree) text += entry + " ";
    return text;
}

/// Makes such a tree; directories on the way to what it names need not be named.
inline void make_tree(const std::string& directory, const std::string& tree) {
    std::istringstream text(tree);
    for (std::string entry; text >> entry;) {
        const std::size_t equals = entry.find('=');
        const std::string path   = directory + "/" + entry.substr(0, equals);
        std::filesystem::create_directories(path_of(path).parent_path());
        if (equals != entry.npos) write_file(path, entry.substr(equals + 1));
    }
}

}  // namespace movane_tests
