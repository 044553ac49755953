// The command that is watched.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace ostrelctl {

/// A command with its arguments, and the variables to set for it; UTF-8.
struct command_line_t {
    std::vector<std::string> words; ///< the program, searched for as a shell does, and its arguments
    std::vector<std::pair<std::string, std::string>> variables;
};

/// What a shell reports for a command that does not exist or cannot be started.
constexpr int command_not_found = 127;
constexpr int command_not_started = 126;

/// Leaves interrupts and requests to end to the command, so that the tool ends last. Called before the first
/// thread is started: threads inherit what it does.
void leave_interrupts_to_command();

/// Keeps a socket out of the command.
void keep_private(std::intptr_t socket);

/// Runs the command and waits for its end. Its standard output goes to standard error; everything else of the
/// console is its own. Says on standard error why it cannot be run.
/// @return its exit status, 128 and the number of the signal that ended it, or one of the above
int run(const command_line_t& command);

} // namespace ostrelctl
