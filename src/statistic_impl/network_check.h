// Whether this machine is inside the maker's corporate network, where the library does not collect.
#pragma once

#include "ostrel/version.h"
#include "platform/network.h"

#include <cstdint>
#include <string>

namespace OSTREL_NAMESPACE {

enum network_check_t : std::int32_t {
    ncExcluded = 0,    ///< inside the corporate network
    ncNotExcluded = 1, ///< the corporate domain has no address in 10.0.0.0/8
    ncError = 2,       ///< the check failed
};

/// Returns ncExcluded if an IPv4 address is in 10.0.0.0/8. Other private ranges do not count.
network_check_t judge_resolution(const ostrel_platform::host_addresses_t& answer);

/// Resolves a host name: ostrel_platform::resolve_host, or a replacement in tests.
using resolver_t = ostrel_platform::host_addresses_t (*)(const std::string& name);

/// Resolves the corporate domain and evaluates the addresses. Blocks as long as the resolver takes.
network_check_t check_excluded_network(const std::string& domain, resolver_t resolver);

} // namespace OSTREL_NAMESPACE
