// Name resolution, on POSIX.
#include "platform/network.h"

#include <cstring>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>

namespace ostrel_platform {

namespace {

using address_list_t = std::unique_ptr<addrinfo, void (*)(addrinfo*)>;

int look_up(const std::string& name, address_list_t& list) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_DGRAM;
    hints.ai_protocol = IPPROTO_UDP;
    addrinfo* found = nullptr;
    int error = ::getaddrinfo(name.c_str(), "domain", &hints, &found);
    // A minimal system has no services database, so the service "domain" is unknown. Try the port number.
    if (error == EAI_SERVICE)
        error = ::getaddrinfo(name.c_str(), "53", &hints, &found);
    list = address_list_t(error == 0 ? found : nullptr, [](addrinfo* first) {
        if (first != nullptr)
            ::freeaddrinfo(first);
    });
    return error;
}

bool is_unknown_host(int error) {
#ifdef EAI_NODATA
    if (error == EAI_NODATA)
        return true;
#endif
    return error == EAI_NONAME;
}

} // namespace

host_addresses_t resolve_host(const std::string& name) {
    address_list_t list(nullptr, [](addrinfo*) {});
    const int error = look_up(name, list);
    if (error != 0)
        return {is_unknown_host(error) ? resolution_t::unknown_host : resolution_t::failed, {}};
    host_addresses_t result{resolution_t::resolved, {}};
    for (const addrinfo* entry = list.get(); entry != nullptr; entry = entry->ai_next) {
        if (entry->ai_family != AF_INET)
            continue;
        sockaddr_in address{};
        std::memcpy(&address, entry->ai_addr, sizeof address);
        std::memcpy(result.ipv4.emplace_back().data(), &address.sin_addr, 4);
    }
    return result;
}

} // namespace ostrel_platform
