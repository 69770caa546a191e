// Programs that tests start.
#pragma once

#include <gtest/gtest.h>

#include <string>

namespace movane_tests {

/// The path of a program that is built into the same directory as the running one.
inline std::string beside_this_program(const std::string& name) {
    const std::string self   = testing::internal::GetArgvs().front();
    const std::size_t begin  = self.find_last_of("\\/") + 1;
    const std::size_t dot    = self.find('.', begin);
    const std::string suffix = dot == self.npos ? "" : self.substr(dot);
    return self.substr(0, begin) + name + suffix;
}

}  // namespace movane_tests
