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

/// Interrupts and requests to end are the command's while this object lives, so that the tool ends last. Made
/// before the first thread: threads inherit what it does.
class interruption_t {
public:
    interruption_t();
    ~interruption_t();
    interruption_t(const interruption_t&) = delete;
    interruption_t& operator=(const interruption_t&) = delete;
};

/// Keeps a socket out of the command.
void keep_private(std::intptr_t socket);

/// Runs the command and waits for its end. Its standard output goes to standard error; everything else of the
/// console is its own. Says on standard error why it cannot be run.
/// @return its exit status, 128 and the number of the signal that ended it, or one of the above
int run(const command_line_t& command, const interruption_t& interruption);

} // namespace ostrelctl
