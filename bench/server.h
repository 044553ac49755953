// A plain HTTP server on the loopback interface, the other end of every measured delivery.
#pragma once

#include <cstdint>
#include <string>

namespace bench {

/// A process of its own, forked before the caller has threads; ends with the object.
///
/// Every request is read whole and answered with 200 and no body, over one connection as long as the client
/// likes. A request for the path /hang is kept waiting for three seconds and never answered.
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

/// Keeps the calling thread, and threads that it starts meanwhile, on one processor.
class pinned_t {
public:
    explicit pinned_t(int cpu);
    ~pinned_t();
    pinned_t(const pinned_t&) = delete;
    pinned_t& operator=(const pinned_t&) = delete;
};

} // namespace bench
