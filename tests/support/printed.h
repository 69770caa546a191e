// What a call prints.
#pragma once

#include "support/helper_program.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace movane_tests {

/// Expects that a call, made in a process of its own, has printed exactly this text by the time it
/// returns: what still waits in the buffer of standard output does not count.
template <class Call>
void expect_printed(const std::string& expected, Call call) {
    const auto* const test = testing::UnitTest::GetInstance()->current_test_info();
    const std::string path = beside_this_program(std::string("printed-by-") + test->name());
    const auto print       = [&] {
        if (!std::freopen(path.c_str(), "wb", stdout)) std::exit(2);
        call();
        const std::string printed = read_file(path);
        std::fputs(printed.c_str(), stderr);
        std::exit(printed == expected && !testing::Test::HasFailure() ? 0 : 1);
    };
    EXPECT_EXIT(print(), testing::ExitedWithCode(0), "") << "instead of " << expected;
    std::remove(path.c_str());
}

}  // namespace movane_tests
