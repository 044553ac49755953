// Child processes, with and without waiting for them, and facts about this process.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ostrel_platform {

/// A program with its arguments, in the forms that the systems need.
///
/// The first element is the program's path. PATH is not searched. The unchanged arguments follow.
struct command_t {
    std::vector<std::wstring> elements; ///< for systems that pass arguments one by one
    std::vector<std::wstring> quoted;   ///< the elements in quotes
    std::wstring line;                  ///< the quoted elements joined by spaces
};

/// The result of a run.
struct run_result_t {
    bool finished = false;
    std::uint32_t code = 0; ///< exit code if the run finished, the system's error number otherwise
};

/// Runs a program without a window and waits for its end, without a timeout.
///
/// On POSIX, if a signal kills the program, the run is finished and its code is 128 plus the signal's number.
/// If the host ignores SIGCHLD, or collects the exit status first, for example with waitpid(-1), `finished`
/// is false and the code is ECHILD, although the program has run.
run_result_t run_process(const command_t& command);

/// Starts a program and does not wait for it. The program may outlive this process. On POSIX it has other
/// standard streams, another session and another parent than this process. On Windows it inherits every
/// inheritable handle.
/// @return false if the program could not be started
bool start_detached(const command_t& command);

std::uint32_t process_id();

/// Whether other threads still run while the process destroys its static objects.
bool do_threads_run_at_exit();

/// Whether this process runs in a remote-desktop session.
bool is_remote_session();

} // namespace ostrel_platform
