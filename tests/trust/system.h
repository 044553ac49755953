// The system calls of the host for scripts/trust/.
#pragma once

#include <string>

namespace trust {

/// Uses the data folder that the environment names. Called once, before the library is used.
void use_data_folder();

/// @return open descriptors (on Windows the next handle's value), threads, and resident pages of 4 KiB
std::string state();

/// Runs @p child in a forked child process. @return its status as waitpid(2) gives it
std::string fork_and_wait(void (*child)());

} // namespace trust
