// Name resolution.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace ostrel_platform {

enum class resolution_t {
    resolved,
    unknown_host, ///< the resolver says that there is no such host, or that it has no address
    failed,       ///< any other error, for example no answer from the resolver
};

struct host_addresses_t {
    resolution_t outcome = resolution_t::failed;
    std::vector<std::array<std::uint8_t, 4>> ipv4; ///< in the resolver's order; IPv6 addresses are left out
};

/// Asks the system's resolver for a host's addresses. Blocks until the resolver returns.
host_addresses_t resolve_host(const std::string& name);

} // namespace ostrel_platform
