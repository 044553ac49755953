// The watched command.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace ostrelctl {

/// A command line and the environment variables to set for the command; UTF-8.
struct command_line_t {
    std::vector<std::string> words; ///< the program, searched for as in a shell, and its arguments
    std::vector<std::pair<std::string, std::string>> variables;
};

/// The exit statuses of shells for a command that does not exist or cannot be started.
constexpr int command_not_found = 127;
constexpr int command_not_started = 126;

/// Makes the tool survive interrupt and termination signals: the command decides what to do with them, and
/// the tool waits for it. Must be called before the first thread starts, because threads inherit the signal
/// mask.
void leave_interrupts_to_command();

/// Prevents the command from inheriting the socket.
void keep_private(std::intptr_t socket);

/// Runs the command and waits until it exits. The command's standard output is redirected to standard error;
/// it uses standard input and standard error of the tool. If the command cannot be started, prints the reason
/// to standard error.
/// @return the command's exit status; if a signal killed it, 128 plus the signal's number; if it was not
///         started, command_not_found or command_not_started
int run(const command_line_t& command);

} // namespace ostrelctl
