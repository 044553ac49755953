// Posts one hit through the proxy candidates.
#include "http_connector/poster.h"

#include "http_connector/proxy_discovery.h"

namespace OSTREL_NAMESPACE {

namespace {

constexpr long transfer_timeout_seconds = 5;
constexpr long delivered_status = 200;

std::size_t discard(const char* /*data*/, std::size_t size, std::size_t count, void* /*user*/) {
    return size * count;
}

} // namespace

poster_t::poster_t(CURL* curl, const std::string& url)
    : m_curl(curl), m_proxies(proxy_candidates(url)), m_is_active(curl != nullptr) {
    if (!m_is_active)
        return;
    curl_easy_setopt(m_curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(m_curl, CURLOPT_WRITEFUNCTION, &discard);
    curl_easy_setopt(m_curl, CURLOPT_TIMEOUT, transfer_timeout_seconds);
    // Without this option libcurl replaces the host's SIGPIPE handler during every transfer. With the option,
    // SIGPIPE is harmless, because the sending thread blocks the signal.
    curl_easy_setopt(m_curl, CURLOPT_NOSIGNAL, 1L);
}

void poster_t::post(const std::string& hit) {
    if (m_is_active)
        m_is_active = deliver(hit);
}

bool poster_t::deliver(const std::string& hit) {
    curl_easy_setopt(m_curl, CURLOPT_POSTFIELDS, hit.c_str());
    for (std::size_t tries = 0; tries < m_proxies.size(); ++tries) {
        if (post_through(m_proxies[m_current]))
            return true;
        m_current = (m_current + 1) % m_proxies.size();
    }
    return false;
}

bool poster_t::post_through(const std::string& proxy) {
    curl_easy_setopt(m_curl, CURLOPT_PROXY, proxy.empty() ? nullptr : proxy.c_str());
    if (curl_easy_perform(m_curl) != CURLE_OK)
        return false;
    long status = 0;
    curl_easy_getinfo(m_curl, CURLINFO_RESPONSE_CODE, &status);
    return status == delivered_status;
}

} // namespace OSTREL_NAMESPACE
