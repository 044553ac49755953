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
    environment, ///< an environment variable; system_proxies does not read it
};

struct system_proxy_t {
    proxy_source_t source;
    std::string text; ///< as the system spells it (UTF-8, not parsed)
};

/// Every proxy that the system names for @p url, in the order in which they are tried: the browser's proxy,
/// the discovered proxy, the machine's default. Never fails. Blocks while automatic discovery asks the
/// network.
std::vector<system_proxy_t> system_proxies(const std::string& url);

} // namespace ostrel_platform
