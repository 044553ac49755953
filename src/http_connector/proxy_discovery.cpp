// Which proxies may lead to the collector.
#include "http_connector/proxy_discovery.h"

#include "platform/proxies.h"

#include <cstdlib>

namespace OSTREL_NAMESPACE {

void discover_proxies(const std::string& url, std::vector<std::string>& candidates) {
    for (std::string& proxy : ostrel_platform::system_proxies(url))
        candidates.push_back(std::move(proxy));
    if (!candidates.empty())
        return;
    const char* const proxy = std::getenv("http_proxy"); // NOLINT(concurrency-mt-unsafe): only read
    if (proxy != nullptr)
        candidates.emplace_back(proxy);
}

std::vector<std::string> proxy_candidates(const std::string& url) {
    std::vector<std::string> candidates;
    discover_proxies(url, candidates);
    candidates.emplace_back();
    return candidates;
}

} // namespace OSTREL_NAMESPACE
