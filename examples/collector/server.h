// The HTTP side of the collector: takes posted hits and tells what arrived.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <iosfwd>
#include <string>

namespace collector {

/// What arrived so far.
struct tally_t {
    int hits = 0;
    int malformed = 0;
    int connections = 0;
};

/// Listens on 127.0.0.1 from construction on. Everything happens on the thread that runs the context.
class server_t {
public:
    /// @param port  0 takes a free one
    /// @param lines receives one line a hit
    /// @param raw   whether each line is followed by the body as it arrived
    /// Throws boost::system::system_error when the port cannot be had.
    server_t(boost::asio::io_context& context, unsigned short port, std::ostream& lines, bool raw);

    unsigned short port() const { return m_acceptor.local_endpoint().port(); }
    const tally_t& tally() const { return m_tally; }

    /// Judges one request and writes its line. @return the status to answer with: 200 or 400
    unsigned take(const std::string& method, const std::string& target, const std::string& body);

    /// Writes the line of something that is no hit.
    void refuse(const std::string& reason);

private:
    void accept();

    boost::asio::ip::tcp::acceptor m_acceptor;
    std::ostream& m_lines;
    bool m_raw;
    tally_t m_tally;
};

} // namespace collector
