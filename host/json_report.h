// Reports for other programs, on standard output.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdio>

namespace host {

inline void print(const nlohmann::ordered_json& json) {
    // File names may be any bytes; the text is UTF-8 all the same.
    const auto replace = nlohmann::ordered_json::error_handler_t::replace;
    std::printf("%s\n", json.dump(2, ' ', false, replace).c_str());
}

}  // namespace host
