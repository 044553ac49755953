// Child processes, run and waited for or started and forgotten, and what the system tells of this process.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ostrel_platform {

/// A program with its arguments, in the forms that systems ask for; all three say the same.
///
/// The first element is the program's path, which is never searched for; the arguments follow as they are.
struct command_t {
    std::vector<std::wstring> elements; ///< for systems that pass arguments one by one
    std::vector<std::wstring> quoted;   ///< the elements in quotes
    std::wstring line;                  ///< the quoted elements joined by blanks
};

/// What a run came to.
struct run_result_t {
    bool finished = false;
    std::uint32_t code =
        0; ///< exit code of a run that finished, the system's error number of one that did not
};

/// Runs a program without a window of its own and waits for its end, without a time limit.
///
/// On POSIX a program killed by a signal counts as finished with 128 plus the signal's number. Where the host
/// keeps the end of its children from us (SIGCHLD ignored, or collected by a thread that waits for any child)
/// the run is not finished, with ECHILD; the program has run all the same.
run_result_t run_process(const command_t& command);

/// Starts a program that outlives and never touches this process: no standard streams, no session and no
/// parent in common, where the system knows such ties. Does not wait for the program's end.
/// @return false when the program could not be started
bool start_detached(const command_t& command);

std::uint32_t process_id();

/// Whether other threads still run while the process destroys its static objects.
bool do_threads_run_at_exit();

/// Whether this process shows its windows on another machine's screen.
bool is_remote_session();

} // namespace ostrel_platform
