// The HTTP side of the collector: takes what is posted, keeps it, and leaves the answer to its owner.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace collector {

/// What came in as one request.
struct request_t {
    std::string method;
    std::string target; ///< an absolute URL when the request came as to a proxy
    std::string content_type;
    std::string user_agent;
    std::string body;
    int connection = 0;  ///< counted from 1 in the order of accepting
    unsigned status = 0; ///< what it was answered with
    std::string fault; ///< why it is no HTTP as expected, and then nothing else is known; empty for a request
};

struct server_settings_t {
    unsigned short port = 0;         ///< 0 takes a free one
    std::string target = "/collect"; ///< of the URL; requests to other targets are given to the judge too
    std::uint64_t longest_body = std::uint64_t{16} << 20U; ///< in bytes; a longer one is a fault
    bool keeps_requests = true;                            ///< false: memory does not grow with what comes in
};

/// Listens on 127.0.0.1 from construction to destruction. One thread of its own serves all connections.
class server_t {
public:
    /// Says which status a request is answered with.
    using judge_t = std::function<unsigned(const request_t&)>;

    /// @param judge called on the server's thread, or by finish
    /// Throws boost::system::system_error if the port cannot be had.
    explicit server_t(judge_t judge, server_settings_t settings = {});
    ~server_t();
    server_t(const server_t&) = delete;
    server_t& operator=(const server_t&) = delete;

    unsigned short port() const;
    /// For example http://127.0.0.1:4711/collect
    std::string url() const;

    /// Handles what has arrived, and then nothing any more.
    void finish();

    /// The listening socket, as the system names it.
    std::intptr_t native_handle() const;

    /// All that came in so far, if requests are kept.
    std::vector<request_t> requests() const;
    /// Blocks until so many requests have come in. @return whether they did before a generous limit
    bool wait_for(std::size_t count) const;

private:
    class listener_t;
    std::unique_ptr<listener_t> m_listener;
};

} // namespace collector
