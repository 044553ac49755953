// Whether this machine is inside the maker's corporate network.
#include "statistic_impl/network_check.h"

#include <algorithm>

namespace OSTREL_NAMESPACE {

network_check_t judge_resolution(const ostrel_platform::host_addresses_t& answer) {
    using ostrel_platform::resolution_t;
    if (answer.outcome == resolution_t::unknown_host)
        return ncNotExcluded;
    if (answer.outcome == resolution_t::failed)
        return ncError;
    const bool inside = std::any_of(answer.ipv4.begin(), answer.ipv4.end(),
                                    [](const auto& address) { return address[0] == 10; });
    return inside ? ncExcluded : ncNotExcluded;
}

network_check_t check_excluded_network(const std::string& domain, resolver_t resolver) {
    return judge_resolution(resolver(domain));
}

} // namespace OSTREL_NAMESPACE
