// The subcommands of the program, one file each.
//
// An add function declares its options below the program's and returns what to do once they are
// parsed; that gives the exit code.
#pragma once

#include <CLI/CLI.hpp>

#include <functional>

namespace host {

using Action = std::function<int()>;

Action add_curve(CLI::App& subcommand);
Action add_separate(CLI::App& subcommand);
Action add_pick(CLI::App& subcommand);
Action add_gamut(CLI::App& subcommand);
Action add_pack(CLI::App& subcommand);
Action add_unpack(CLI::App& subcommand);
Action add_list(CLI::App& subcommand);
Action add_md5(CLI::App& subcommand);

}  // namespace host
