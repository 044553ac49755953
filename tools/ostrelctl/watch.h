// Runs a command and shows the hits that it posts.
#pragma once

#include <string>
#include <vector>

namespace ostrelctl {

/// What to watch, and how to show it; UTF-8.
struct watch_t {
    std::vector<std::string> command;
    bool wants_raw = false;
    bool wants_json = false;
};

/// Runs the command. Prints each hit when it arrives, and at the end a summary on standard error. Forwards
/// nothing to another collector.
/// @return the command's own exit status
int watch(const watch_t& request);

} // namespace ostrelctl
