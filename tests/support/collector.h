// A real HTTP server in the test process that collects what is posted to it.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace test_support {

struct request_t {
    std::string method;
    std::string target; ///< an absolute URL when the request came as to a proxy
    std::string content_type;
    std::string user_agent;
    std::string body;
    int connection = 0; ///< counted from 1 in the order of accepting
};

/// Listens on a free port of 127.0.0.1 from construction on; one thread serves all connections.
class collector_t {
public:
    /// @param status what each request is answered with
    explicit collector_t(std::function<unsigned(const request_t&)> status = [](const request_t&) {
        return 200U;
    });
    ~collector_t();
    collector_t(const collector_t&) = delete;
    collector_t& operator=(const collector_t&) = delete;

    /// For example http://127.0.0.1:4711/collect
    std::string url() const;
    /// For example 127.0.0.1:4711
    std::string address() const;

    std::vector<request_t> requests() const;
    std::vector<std::string> bodies() const;
    /// Blocks until so many requests have arrived. @return whether they did before a generous limit
    bool wait_for(std::size_t count) const;

private:
    class server_t;
    std::unique_ptr<server_t> m_server;
};

} // namespace test_support
