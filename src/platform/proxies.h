// The proxies that the system's settings name.
#pragma once

#include <string>
#include <vector>

namespace ostrel_platform {

/// The setting that names a proxy.
enum class proxy_source_t {
    browser,     ///< the user's browser settings
    discovery,   ///< automatic discovery in the network
    machine,     ///< the machine's default
    environment, ///< a variable, which is not looked at here
};

struct system_proxy_t {
    proxy_source_t source;
    std::string text; ///< as the system spells it (UTF-8, not parsed)
};

/// Every proxy that the system names for @p url, in the order of trial: the browser's, the discovered one,
/// the machine's default. Never fails. May block while it asks the network for an automatic configuration.
std::vector<system_proxy_t> system_proxies(const std::string& url);

} // namespace ostrel_platform
