// What the host for scripts/trust/ needs of the system.
#pragma once

#include <string>

namespace trust {

/// Uses the data folder that the environment names. Called once, before the library is used.
void use_data_folder();

/// The number of open descriptors (on Windows the value of the next handle), of threads, and of resident
/// pages of 4 KiB.
std::string state();

/// Runs @p child in a forked child process. @return how the child ended
std::string fork_and_wait(void (*child)());

/// Ends the process without its exit handlers. On Windows libraries are still detached.
[[noreturn]] void leave();

/// Ends the process as another process would.
[[noreturn]] void kill_self();

} // namespace trust
