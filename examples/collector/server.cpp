// The HTTP side of the collector.
#include "server.h"

#include "hit.h"

#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include <memory>
#include <optional>
#include <ostream>

namespace collector {

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using tcp = asio::ip::tcp;

constexpr std::uint64_t longest_body = std::uint64_t{16} << 20U;

/// One connection: reads a request, answers it, and starts over until the peer has enough.
class session_t : public std::enable_shared_from_this<session_t> {
public:
    session_t(server_t& server, tcp::socket socket) : m_server(server), m_stream(std::move(socket)) {}

    void read() {
        m_parser.emplace();
        m_parser->body_limit(longest_body);
        http::async_read(
            m_stream, m_buffer, *m_parser,
            [self = shared_from_this()](beast::error_code error, std::size_t) { self->on_read(error); });
    }

private:
    void on_read(beast::error_code error) {
        const auto& http_errors = http::make_error_code(http::error::bad_method).category();
        if (!error) {
            const auto& request = m_parser->get();
            answer(m_server.take(std::string(request.method_string()), std::string(request.target()),
                                 request.body()),
                   request.keep_alive());
        } else if (error.category() == http_errors && error != http::error::end_of_stream) {
            m_server.refuse("not HTTP as expected: " + error.message());
            answer(400, false);
        }
    }

    void answer(unsigned status, bool keep_alive) {
        m_response = {http::int_to_status(status), 11};
        m_response.keep_alive(keep_alive);
        m_response.prepare_payload();
        http::async_write(m_stream, m_response,
                          [self = shared_from_this(), keep_alive](beast::error_code error, std::size_t) {
                              if (!error && keep_alive)
                                  self->read();
                          });
    }

    server_t& m_server;
    beast::tcp_stream m_stream;
    beast::flat_buffer m_buffer;
    std::optional<http::request_parser<http::string_body>> m_parser; ///< one a request
    http::response<http::empty_body> m_response;
};

} // namespace

server_t::server_t(asio::io_context& context, unsigned short port, std::ostream& lines, bool raw)
    : m_acceptor(context, {asio::ip::address_v4::loopback(), port}), m_lines(lines), m_raw(raw) {
    accept();
}

void server_t::accept() {
    m_acceptor.async_accept([this](beast::error_code error, tcp::socket socket) {
        if (error == asio::error::operation_aborted)
            return;
        if (!error) {
            ++m_tally.connections;
            std::make_shared<session_t>(*this, std::move(socket))->read();
        }
        accept();
    });
}

unsigned server_t::take(const std::string& method, const std::string& target, const std::string& body) {
    unsigned status = 400;
    if (method != "POST" || target != "/collect") {
        refuse(quoted(method) + " to " + quoted(target) + " instead of \"POST\" to \"/collect\"");
        return status;
    }
    try {
        const hit_t hit = parse_hit(body);
        m_lines << "hit " << ++m_tally.hits << ": " << describe(hit) << std::endl;
        status = 200;
    } catch (const malformed_hit_t& fault) {
        refuse(fault.what());
    }
    if (m_raw)
        m_lines << "    raw: " << quoted(body) << std::endl;
    return status;
}

void server_t::refuse(const std::string& reason) {
    ++m_tally.malformed;
    m_lines << "malformed: " << reason << std::endl;
}

} // namespace collector
