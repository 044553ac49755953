// Name resolution, on Windows.
#include "platform/network.h"

#include <winsock2.h>
#include <ws2tcpip.h>

#include <cstring>

namespace ostrel_platform {

namespace {

/// Keeps the socket library initialised while an object exists. Other users of the socket library in this
/// process are not affected, because it counts the calls of WSAStartup and WSACleanup.
class sockets_t {
public:
    sockets_t() : m_started(::WSAStartup(0x0101, &m_data) == 0) {}
    ~sockets_t() {
        if (m_started)
            ::WSACleanup();
    }
    sockets_t(const sockets_t&) = delete;
    sockets_t& operator=(const sockets_t&) = delete;

    bool started() const { return m_started; }

private:
    WSADATA m_data{};
    bool m_started;
};

int look_up(const std::string& name, addrinfo*& list) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_DGRAM;
    hints.ai_protocol = IPPROTO_UDP;
    return ::getaddrinfo(name.c_str(), "domain", &hints, &list);
}

resolution_t outcome_of(int error) {
    if (error == 0)
        return resolution_t::resolved;
    const bool unknown = error == WSAHOST_NOT_FOUND || error == WSANO_DATA;
    return unknown ? resolution_t::unknown_host : resolution_t::failed;
}

void collect_ipv4(const addrinfo* list, host_addresses_t& result) {
    for (const addrinfo* entry = list; entry != nullptr; entry = entry->ai_next) {
        if (entry->ai_family != AF_INET)
            continue;
        sockaddr_in address{};
        std::memcpy(&address, entry->ai_addr, sizeof address);
        std::memcpy(result.ipv4.emplace_back().data(), &address.sin_addr, 4);
    }
}

} // namespace

host_addresses_t resolve_host(const std::string& name) {
    const sockets_t sockets;
    if (!sockets.started())
        return {};
    addrinfo* list = nullptr;
    host_addresses_t result;
    result.outcome = outcome_of(look_up(name, list));
    collect_ipv4(list, result);
    ::freeaddrinfo(list);
    return result;
}

} // namespace ostrel_platform
