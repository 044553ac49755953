// Posts one hit through the proxy candidates.
#pragma once

#include "ostrel/version.h"

#include <curl/curl.h>

#include <string>
#include <vector>

namespace OSTREL_NAMESPACE {

/// Tries the proxy candidate that worked last, then the others, with a timeout of 5 seconds each. A hit is
/// delivered if the status is 200. If a hit fails through all candidates, later hits are dropped. Not
/// thread-safe.
class poster_t {
public:
    /// Finds the proxy candidates. May block while the system looks up proxies in the network.
    /// @param curl must outlive the object; if it is null, every hit is dropped
    poster_t(CURL* curl, const std::string& url);

    void post(const std::string& hit);

private:
    bool deliver(const std::string& hit);
    bool post_through(const std::string& proxy);

    CURL* m_curl;
    std::vector<std::string> m_proxies; ///< empty text: libcurl chooses
    std::size_t m_current = 0;          ///< the candidate to try first
    bool m_is_active;
};

} // namespace OSTREL_NAMESPACE
