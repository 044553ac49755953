// A simple HTTP server on the loopback interface, which receives the hits of the benchmarks.
#pragma once

#include <cstdint>
#include <string>

namespace bench {

/// Runs in a child process. Construct it before the caller starts threads. The destructor kills the process.
///
/// Reads every request completely and answers it with 200 and no body. The connection stays open until the
/// client closes it. For the path /hang, waits three seconds and closes the connection without an answer.
class server_t {
public:
    /// @param cpu the processor that the server is pinned to
    explicit server_t(int cpu);
    ~server_t();
    server_t(const server_t&) = delete;
    server_t& operator=(const server_t&) = delete;

    std::string url(const std::string& path = "/collect") const;

private:
    int m_process = 0;
    std::uint16_t m_port = 0;
};

/// Pins the calling thread to one processor until destruction. Threads that it starts inherit this.
class pinned_t {
public:
    explicit pinned_t(int cpu);
    ~pinned_t();
    pinned_t(const pinned_t&) = delete;
    pinned_t& operator=(const pinned_t&) = delete;
};

} // namespace bench
