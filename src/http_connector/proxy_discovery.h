// Which proxies may lead to the collector.
#pragma once

#include "ostrel/version.h"
#include "platform/proxies.h"

#include <string>
#include <vector>

namespace OSTREL_NAMESPACE {

using ostrel_platform::proxy_source_t;

/// A proxy and the setting that names it.
struct found_proxy_t {
    proxy_source_t source;
    const char* variable; ///< null unless the source is the environment
    std::string text;     ///< the setting's own text; an empty one leaves the choice to libcurl
};

/// Every proxy that the system's settings name for @p url, in the order of trial; only if they name none, the
/// value of http_proxy, even an empty one. Never fails. May block while it asks the network for an automatic
/// configuration.
std::vector<found_proxy_t> discover_proxies(const std::string& url);

/// The candidates in the order of trial: the result of discover_proxies, and last an empty one, which leaves
/// the choice to libcurl.
std::vector<std::string> proxy_candidates(const std::string& url);

/// The proxy that libcurl chooses for @p url if it is given none: the value of an environment variable.
/// Without a variable and with an empty text if libcurl connects directly. Ignores the exceptions in
/// no_proxy.
found_proxy_t proxy_of_libcurl(const std::string& url);

} // namespace OSTREL_NAMESPACE
