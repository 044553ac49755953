// The HTTP server of the collector. It stores requests, and a callback chooses the status of each answer.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace collector {

/// One received request.
struct request_t {
    std::string method;
    std::string target; ///< an absolute URL if the client uses this server as a proxy
    std::string content_type;
    std::string user_agent;
    std::string body;
    int connection = 0;  ///< number of the connection, from 1
    unsigned status = 0; ///< HTTP status of the answer
    std::string fault;   ///< why the HTTP is invalid; if set, all texts above are empty
};

struct server_settings_t {
    unsigned short port = 0;         ///< 0 means a free port
    std::string target = "/collect"; ///< path in url(); requests to other paths are received too
    std::uint64_t longest_body = std::uint64_t{16} << 20U; ///< in bytes; a longer body is a fault
    bool keeps_requests = true; ///< if false, requests are not stored, so memory does not grow
};

/// Listens on 127.0.0.1 from construction to destruction. One background thread serves all connections.
class server_t {
public:
    /// Returns the HTTP status of the answer.
    using judge_t = std::function<unsigned(const request_t&)>;

    /// @param judge called on the server's thread, or by finish()
    /// Throws boost::system::system_error if the port is not available.
    explicit server_t(judge_t judge, server_settings_t settings = {});
    ~server_t();
    server_t(const server_t&) = delete;
    server_t& operator=(const server_t&) = delete;

    unsigned short port() const;
    /// For example http://127.0.0.1:4711/collect
    std::string url() const;

    /// Handles the requests that have already arrived, and stops.
    void finish();

    /// The system's handle of the listening socket.
    std::intptr_t native_handle() const;

    /// All received requests. Empty if requests are not stored.
    std::vector<request_t> requests() const;
    /// Blocks until @p count requests have arrived. @return false after a timeout of 60 seconds
    bool wait_for(std::size_t count) const;

private:
    class listener_t;
    std::unique_ptr<listener_t> m_listener;
};

} // namespace collector
