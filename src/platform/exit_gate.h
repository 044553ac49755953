// Delays process exit and forks while another library is being initialised.
#pragma once

namespace ostrel_platform {

/// Guards the calling thread: before the thread ends or calls exit(), it waits until no exit_gate_t exists.
/// Call it on threads of the host. A repeated call does nothing. No-op on systems that end all other threads
/// before exit handlers run.
void guard_exit_of_this_thread();

/// While an object exists, guarded threads that end or call exit(), and threads that fork, wait for its
/// destruction. Each waits at most one second. Create it on the thread that initialises another library.
///
/// Libraries such as OpenSSL register exit handlers that destroy their data. An initialisation that still
/// runs on another thread would then use destroyed data.
class exit_gate_t {
public:
    exit_gate_t();
    ~exit_gate_t();
    exit_gate_t(const exit_gate_t&) = delete;
    exit_gate_t& operator=(const exit_gate_t&) = delete;

    /// False if the main thread has already ended or called exit(). Then do not start an initialisation.
    bool is_open() const { return m_is_open; }

private:
    bool m_is_open;
};

} // namespace ostrel_platform
