// Whether this machine sits inside the maker's corporate network, which never collects.
#pragma once

#include "ostrel/version.h"
#include "platform/network.h"

#include <cstdint>
#include <string>

namespace OSTREL_NAMESPACE {

enum network_check_t : std::int32_t {
    ncExcluded = 0,    ///< inside the corporate network
    ncNotExcluded = 1, ///< the corporate domain does not resolve to a private address from here
    ncError = 2,       ///< the check could not be made
};

/// Excluded if an IPv4 address is in 10.0.0.0/8; other private ranges do not count.
network_check_t judge_resolution(const ostrel_platform::host_addresses_t& answer);

/// Asks for the addresses of a host; ostrel_platform::resolve_host, unless a test gives another one.
using resolver_t = ostrel_platform::host_addresses_t (*)(const std::string& name);

/// Resolves the corporate domain and judges the answer. Blocks for as long as the resolver takes.
network_check_t check_excluded_network(const std::string& domain, resolver_t resolver);

} // namespace OSTREL_NAMESPACE
