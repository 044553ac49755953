// Keeps initialisations on the library's threads apart from the end of the process.
#pragma once

namespace ostrel_platform {

/// Lets the calling thread wait at the end of the process for a running initialisation. Called on threads of
/// the host; a repeated call does nothing. No-op on systems that end all other threads first.
void guard_exit_of_this_thread();

/// Holds the end of the process, and forks, back until its destruction, at most one second.
///
/// Libraries such as OpenSSL register handlers that destroy their data when the process exits. An
/// initialisation on another thread would then use destroyed data.
class exit_gate_t {
public:
    exit_gate_t();
    ~exit_gate_t();
    exit_gate_t(const exit_gate_t&) = delete;
    exit_gate_t& operator=(const exit_gate_t&) = delete;

    /// False if the process already ends: then nothing may be initialised any more.
    bool is_open() const { return m_is_open; }

private:
    bool m_is_open;
};

} // namespace ostrel_platform
