// A simple HTTP server on the loopback interface, which receives the hits of the benchmarks.
#include "server.h"

#include <cstdlib>
#include <string_view>
#include <thread>

#include <csignal>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

namespace {

void pin(int cpu) {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(static_cast<std::size_t>(cpu), &set);
    ::sched_setaffinity(0, sizeof set, &set);
}

/// @return the length of the first request in @p text, or 0 if the request is incomplete
std::size_t request_length(std::string_view text) {
    constexpr std::string_view field = "Content-Length: ";
    const std::size_t end = text.find("\r\n\r\n");
    if (end == std::string_view::npos)
        return 0;
    const std::size_t length = text.find(field);
    const std::size_t body =
        length < end ? std::strtoul(text.data() + length + field.size(), nullptr, 10) : 0;
    return text.size() >= end + 4 + body ? end + 4 + body : 0;
}

void answer(int connection) {
    constexpr std::string_view response = "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n";
    std::string received;
    char block[4096];
    for (;;) {
        const ssize_t count = ::read(connection, block, sizeof block);
        if (count <= 0)
            break;
        received.append(block, static_cast<std::size_t>(count));
        if (received.rfind("POST /hang ", 0) == 0) {
            ::sleep(3);
            break;
        }
        while (const std::size_t length = request_length(received)) {
            received.erase(0, length);
            if (::write(connection, response.data(), response.size()) < 0)
                break;
        }
    }
    ::close(connection);
}

[[noreturn]] void serve(int listener, int cpu) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    pin(cpu);
    for (;;) {
        const int connection = ::accept(listener, nullptr, nullptr);
        if (connection < 0)
            std::_Exit(1);
        const int on = 1;
        ::setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        std::thread(answer, connection).detach();
    }
}

} // namespace

server_t::server_t(int cpu) {
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (::bind(listener, reinterpret_cast<sockaddr*>(&address), size) != 0 || ::listen(listener, 16) != 0 ||
        ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) != 0)
        std::abort();
    m_port = ntohs(address.sin_port);
    m_process = ::fork();
    if (m_process == 0)
        serve(listener, cpu);
    ::close(listener);
}

server_t::~server_t() {
    ::kill(m_process, SIGKILL);
    ::waitpid(m_process, nullptr, 0);
}

std::string server_t::url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(m_port) + path;
}

pinned_t::pinned_t(int cpu) {
    pin(cpu);
}

pinned_t::~pinned_t() {
    cpu_set_t all;
    CPU_ZERO(&all);
    for (std::size_t cpu = 0; cpu < CPU_SETSIZE; ++cpu)
        CPU_SET(cpu, &all);
    ::sched_setaffinity(0, sizeof all, &all);
}

} // namespace bench
