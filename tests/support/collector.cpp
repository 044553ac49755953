// A real HTTP server in the test process, on Boost.Beast.
#include "support/collector.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace test_support {

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using tcp = asio::ip::tcp;

constexpr std::chrono::seconds generous_limit{60};

} // namespace

class collector_t::server_t {
public:
    explicit server_t(std::function<unsigned(const request_t&)> status)
        : m_status(std::move(status)), m_acceptor(m_context, {asio::ip::make_address("127.0.0.1"), 0}) {
        accept();
        m_thread = std::thread([this] { m_context.run(); });
    }

    ~server_t() {
        m_context.stop();
        m_thread.join();
    }

    std::string address() const { return "127.0.0.1:" + std::to_string(m_acceptor.local_endpoint().port()); }

    std::vector<request_t> requests() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_requests;
    }

    bool wait_for(std::size_t count) const {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_arrived.wait_for(lock, generous_limit, [&] { return m_requests.size() >= count; });
    }

private:
    struct session_t : std::enable_shared_from_this<session_t> {
        session_t(server_t& owner, tcp::socket socket, int connection)
            : server(owner), stream(std::move(socket)), number(connection) {}

        void read() {
            request = {};
            http::async_read(stream, buffer, request,
                             [self = shared_from_this()](beast::error_code error, std::size_t) {
                                 if (!error)
                                     self->answer();
                             });
        }

        void answer() {
            response = {http::int_to_status(server.take(request, number)), request.version()};
            response.keep_alive(request.keep_alive());
            response.prepare_payload();
            http::async_write(stream, response,
                              [self = shared_from_this()](beast::error_code error, std::size_t) {
                                  if (!error && self->response.keep_alive())
                                      self->read();
                              });
        }

        server_t& server;
        beast::tcp_stream stream;
        int number;
        beast::flat_buffer buffer;
        http::request<http::string_body> request;
        http::response<http::string_body> response;
    };

    void accept() {
        m_acceptor.async_accept([this](beast::error_code error, tcp::socket socket) {
            if (error)
                return;
            std::make_shared<session_t>(*this, std::move(socket), ++m_connections)->read();
            accept();
        });
    }

    unsigned take(const http::request<http::string_body>& received, int connection) {
        const request_t request{std::string(received.method_string()),
                                std::string(received.target()),
                                std::string(received[http::field::content_type]),
                                std::string(received[http::field::user_agent]),
                                received.body(),
                                connection};
        const unsigned status = m_status(request);
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_requests.push_back(request);
        m_arrived.notify_all();
        return status;
    }

    std::function<unsigned(const request_t&)> m_status;
    asio::io_context m_context;
    tcp::acceptor m_acceptor;
    int m_connections = 0;
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_arrived;
    std::vector<request_t> m_requests; ///< guarded by m_mutex
    std::thread m_thread;
};

collector_t::collector_t(std::function<unsigned(const request_t&)> status)
    : m_server(std::make_unique<server_t>(std::move(status))) {}

collector_t::~collector_t() = default;

std::string collector_t::url() const {
    return "http://" + address() + "/collect";
}
std::string collector_t::address() const {
    return m_server->address();
}
std::vector<request_t> collector_t::requests() const {
    return m_server->requests();
}

std::vector<std::string> collector_t::bodies() const {
    std::vector<std::string> result;
    for (const auto& request : requests())
        result.push_back(request.body);
    return result;
}

bool collector_t::wait_for(std::size_t count) const {
    return m_server->wait_for(count);
}

} // namespace test_support
