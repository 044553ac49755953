// Posts one hit through the proxy candidates.
#pragma once

#include "ostrel/version.h"

#include <curl/curl.h>

#include <string>
#include <vector>

namespace OSTREL_NAMESPACE {

/// Tries the candidate that worked last and then the others, 5 seconds each at most; only status 200 counts.
/// Once a hit has failed through all candidates, later hits are dropped. Belongs to one thread.
class poster_t {
public:
    /// Asks the system for its proxies, which may block while that asks the network.
    /// @param curl outlives the object; if it is null, every hit is dropped
    poster_t(CURL* curl, const std::string& url);

    void post(const std::string& hit);

private:
    bool deliver(const std::string& hit);
    bool post_through(const std::string& proxy);

    CURL* m_curl;
    std::vector<std::string> m_proxies; ///< an empty one is libcurl's own default
    std::size_t m_current = 0;          ///< the candidate to try first
    bool m_is_active;
};

} // namespace OSTREL_NAMESPACE
