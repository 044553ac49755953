// The HTTP side of the collector: takes what is posted, keeps it, and leaves the answer to its owner.
#pragma once

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

/// Listens on 127.0.0.1 from construction to destruction. One thread of its own serves all connections.
class server_t {
public:
    /// Says which status a request is answered with.
    using judge_t = std::function<unsigned(const request_t&)>;

    /// @param judge called on the server's thread
    /// @param port  0 takes a free one
    /// Throws boost::system::system_error when the port cannot be had.
    explicit server_t(judge_t judge, unsigned short port = 0);
    ~server_t();
    server_t(const server_t&) = delete;
    server_t& operator=(const server_t&) = delete;

    unsigned short port() const;
    /// For example http://127.0.0.1:4711/collect
    std::string url() const;

    /// All that came in so far.
    std::vector<request_t> requests() const;
    /// Blocks until so many requests have come in. @return whether they did before a generous limit
    bool wait_for(std::size_t count) const;

private:
    class listener_t;
    std::unique_ptr<listener_t> m_listener;
};

} // namespace collector
