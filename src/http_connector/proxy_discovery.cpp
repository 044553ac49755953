// Finds the proxies to try on the way to the collector.
#include "http_connector/proxy_discovery.h"

#include <cstdlib>
#include <utility>

namespace OSTREL_NAMESPACE {

namespace {

const char* value_of(const char* variable) {
    return std::getenv(variable); // NOLINT(concurrency-mt-unsafe): the library only reads the environment
}

// Returns the variables in libcurl's order. libcurl never reads HTTP_PROXY, because CGI sets it from a
// request header.
std::vector<const char*> variables_of_libcurl(const std::string& url) {
    if (url.rfind("https:", 0) == 0)
        return {"https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"};
    return {"http_proxy", "all_proxy", "ALL_PROXY"};
}

} // namespace

std::vector<found_proxy_t> discover_proxies(const std::string& url) {
    std::vector<found_proxy_t> found;
    for (auto& [source, text] : ostrel_platform::system_proxies(url))
        found.push_back({source, nullptr, std::move(text)});
    const char* const variable = "http_proxy";
    if (const char* const proxy = value_of(variable); found.empty() && proxy != nullptr)
        found.push_back({proxy_source_t::environment, variable, proxy});
    return found;
}

std::vector<std::string> proxy_candidates(const std::string& url) {
    std::vector<std::string> candidates;
    for (found_proxy_t& found : discover_proxies(url))
        candidates.push_back(std::move(found.text));
    candidates.emplace_back();
    return candidates;
}

found_proxy_t proxy_of_libcurl(const std::string& url) {
    for (const char* const variable : variables_of_libcurl(url))
        if (const char* const value = value_of(variable); value != nullptr && *value != '\0')
            return {proxy_source_t::environment, variable, value};
    return {proxy_source_t::environment, nullptr, {}};
}

} // namespace OSTREL_NAMESPACE
