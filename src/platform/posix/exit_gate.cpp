// Delays process exit and forks while another library is being initialised, on POSIX.
#include "platform/exit_gate.h"

#include <chrono>
#include <mutex>
#include <pthread.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace ostrel_platform {

namespace {

constexpr std::chrono::seconds longest_wait{1};

struct gate_t {
    std::mutex mutex;
    bool is_closed = false; ///< guarded by mutex
};

// Never destroyed: the library's threads outlive static objects.
gate_t& gate() {
    static auto* const never_destroyed = new gate_t;
    return *never_destroyed;
}

// Polls, because sanitizers do not support the timed operations of a mutex.
bool lock_in_time(std::mutex& mutex) {
    const auto deadline = std::chrono::steady_clock::now() + longest_wait;
    while (!mutex.try_lock()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

bool is_main_thread() {
    return ::syscall(SYS_gettid) == ::getpid();
}

/// A thread-local object, because exit() destroys the thread-local objects of its thread before it calls exit
/// handlers. An exit handler of our own would be too late: handlers that are registered later run first.
struct closer_t {
    closer_t() = default;
    closer_t(const closer_t&) = delete;
    closer_t& operator=(const closer_t&) = delete;
    ~closer_t() {
        if (!lock_in_time(gate().mutex))
            return;
        // If another thread ends, the process may continue, so only the main thread closes the gate.
        gate().is_closed = gate().is_closed || is_main_thread();
        gate().mutex.unlock();
    }
};

thread_local bool is_held_for_fork = false;

// A fork also waits for a running initialisation. In the child, the locks that the initialisation holds would
// never be released.
void hold_for_fork() {
    is_held_for_fork = lock_in_time(gate().mutex);
}

void release_after_fork() {
    if (std::exchange(is_held_for_fork, false))
        gate().mutex.unlock();
}

// The thread that loads the library is the main thread in most hosts.
[[maybe_unused]] const bool is_registered =
    (guard_exit_of_this_thread(),
     ::pthread_atfork(&hold_for_fork, &release_after_fork, &release_after_fork) == 0);

} // namespace

void guard_exit_of_this_thread() {
    thread_local const closer_t closer;
    static_cast<void>(closer);
}

exit_gate_t::exit_gate_t() : m_is_open(false) {
    gate().mutex.lock();
    m_is_open = !gate().is_closed;
}

exit_gate_t::~exit_gate_t() {
    gate().mutex.unlock();
}

} // namespace ostrel_platform
