// The HTTP server of the collector, with Boost.Beast.
#include "server.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

namespace collector {

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using tcp = asio::ip::tcp;

constexpr std::chrono::seconds generous_limit{60};

/// One connection. Reads and answers requests until the client closes it.
class session_t : public std::enable_shared_from_this<session_t> {
public:
    session_t(const server_t::judge_t& judge, std::uint64_t longest_body, tcp::socket socket, int connection)
        : m_judge(judge),
          m_longest_body(longest_body),
          m_stream(std::move(socket)),
          m_connection(connection) {}

    void read() {
        m_parser.emplace();
        m_parser->body_limit(m_longest_body);
        http::async_read(
            m_stream, m_buffer, *m_parser,
            [self = shared_from_this()](beast::error_code error, std::size_t) { self->on_read(error); });
    }

private:
    void on_read(beast::error_code error) {
        const auto& http_errors = http::make_error_code(http::error::bad_method).category();
        if (!error) {
            const auto& request = m_parser->get();
            answer({std::string(request.method_string()), std::string(request.target()),
                    std::string(request[http::field::content_type]),
                    std::string(request[http::field::user_agent]), request.body(), m_connection, 0, ""},
                   request.keep_alive());
        } else if (error.category() == http_errors && error != http::error::end_of_stream) {
            answer({"", "", "", "", "", m_connection, 0, error.message()}, false);
        }
    }

    void answer(const request_t& request, bool keep_alive) {
        m_response = {http::int_to_status(m_judge(request)), 11};
        if (m_response.result() == http::status::temporary_redirect)
            m_response.set(http::field::location, "/elsewhere"); // clients can follow this redirect
        m_response.keep_alive(keep_alive);
        m_response.prepare_payload();
        http::async_write(m_stream, m_response,
                          [self = shared_from_this(), keep_alive](beast::error_code error, std::size_t) {
                              if (!error && keep_alive)
                                  self->read();
                          });
    }

    const server_t::judge_t& m_judge;
    const std::uint64_t m_longest_body;
    beast::tcp_stream m_stream;
    int m_connection;
    beast::flat_buffer m_buffer;
    std::optional<http::request_parser<http::string_body>> m_parser; ///< a new parser for each request
    http::response<http::empty_body> m_response;
};

} // namespace

class server_t::listener_t {
public:
    listener_t(judge_t judge, server_settings_t settings)
        : m_settings(std::move(settings)),
          m_judge([this, judge = std::move(judge)](const auto& request) {
              return keep(request, judge(request));
          }),
          m_acceptor(m_context, {asio::ip::address_v4::loopback(), m_settings.port}) {
        accept();
        m_thread = std::thread([this] { m_context.run(); });
    }

    ~listener_t() { stop(); }

    void finish() {
        stop();
        m_context.restart();
        while (m_context.poll() > 0)
            ;
    }

    std::string url() const { return "http://127.0.0.1:" + std::to_string(port()) + m_settings.target; }
    unsigned short port() const { return m_acceptor.local_endpoint().port(); }
    std::intptr_t native_handle() { return static_cast<std::intptr_t>(m_acceptor.native_handle()); }

    std::vector<request_t> requests() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_requests;
    }

    bool wait_for(std::size_t count) const {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_arrived.wait_for(lock, generous_limit, [&] { return m_requests.size() >= count; });
    }

private:
    void stop() {
        m_context.stop();
        if (m_thread.joinable())
            m_thread.join();
    }

    void accept() {
        m_acceptor.async_accept([this](beast::error_code error, tcp::socket socket) {
            if (error == asio::error::operation_aborted)
                return;
            if (!error)
                std::make_shared<session_t>(m_judge, m_settings.longest_body, std::move(socket),
                                            ++m_connections)
                    ->read();
            accept();
        });
    }

    unsigned keep(request_t request, unsigned status) {
        request.status = status;
        if (!m_settings.keeps_requests)
            return status;
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_requests.push_back(std::move(request));
        m_arrived.notify_all();
        return status;
    }

    const server_settings_t m_settings;
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_arrived;
    std::vector<request_t> m_requests; ///< guarded by m_mutex
    judge_t m_judge;
    asio::io_context m_context;
    tcp::acceptor m_acceptor;
    int m_connections = 0;
    std::thread m_thread;
};

server_t::server_t(judge_t judge, server_settings_t settings)
    : m_listener(std::make_unique<listener_t>(std::move(judge), std::move(settings))) {}

server_t::~server_t() = default;

unsigned short server_t::port() const {
    return m_listener->port();
}
std::string server_t::url() const {
    return m_listener->url();
}
void server_t::finish() {
    m_listener->finish();
}
std::intptr_t server_t::native_handle() const {
    return m_listener->native_handle();
}
std::vector<request_t> server_t::requests() const {
    return m_listener->requests();
}
bool server_t::wait_for(std::size_t count) const {
    return m_listener->wait_for(count);
}

} // namespace collector
