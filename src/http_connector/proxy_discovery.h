// Finds the proxies to try on the way to the collector.
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
    std::string text;     ///< the value of the setting; empty: libcurl chooses the proxy
};

/// Returns the proxies for @p url from the system's settings, in the order in which to try them. If the
/// settings contain no proxy and http_proxy is set, returns the value of http_proxy, even if it is empty.
/// Never fails. May block while the system looks up an automatic configuration in the network.
std::vector<found_proxy_t> discover_proxies(const std::string& url);

/// Returns the proxy candidates in the order in which to try them: the result of discover_proxies, then an
/// empty text, with which libcurl chooses.
std::vector<std::string> proxy_candidates(const std::string& url);

/// Returns the proxy that libcurl chooses for @p url: the value of an environment variable. If libcurl would
/// connect directly, the variable is null and the text is empty. The function does not read no_proxy.
found_proxy_t proxy_of_libcurl(const std::string& url);

} // namespace OSTREL_NAMESPACE
