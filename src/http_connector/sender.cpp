// The sending thread and all that it works on.
#include "http_connector/sender.h"

#include "http_connector/proxy_discovery.h"
#include "platform/signals.h"

#include <utility>

namespace OSTREL_NAMESPACE {

namespace {

constexpr long transfer_timeout_seconds = 5;
constexpr long delivered_status = 200;

std::size_t discard(const char* /*data*/, std::size_t size, std::size_t count, void* /*user*/) {
    return size * count;
}

void prepare(CURL* curl, const std::string& url) {
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &discard);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, transfer_timeout_seconds);
    // Otherwise libcurl swaps the process-wide handling of SIGPIPE around every transfer, under the host's
    // feet; the sending thread blocks the signal anyway. Changes nothing of what is sent.
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
}

} // namespace

sender_t::sender_t(const char* url) : m_url(url) {
    if (m_curl.handle() != nullptr)
        prepare(m_curl.handle(), m_url);
    const ostrel_platform::signal_block_t inherited_by_the_thread;
    m_thread = boost::thread(&sender_t::run, this);
}

sender_t::~sender_t() { // NOLINT(bugprone-exception-escape): no marker, no join
    // A host may interrupt its thread with Boost.Thread while that waits here: leaving the destructor, the
    // exception would end the process.
    const boost::this_thread::disable_interruption waits_all_the_same;
    m_queue.push(std::string());
    m_thread.join();
}

void sender_t::send(std::string hit) {
    m_queue.push(std::move(hit));
}

void sender_t::run() {
    try {
        m_proxies = proxy_candidates(m_url);
    } catch (...) {
        m_active = false; // out of memory: an exception that left this thread would end the host
    }
    deliver_until_stopped();
}

void sender_t::deliver_until_stopped() {
    for (;;) {
        const std::string hit = m_queue.pull();
        if (hit.empty())
            return;
        if (m_curl.handle() != nullptr && m_active)
            m_active = deliver(hit);
    }
}

bool sender_t::deliver(const std::string& hit) {
    curl_easy_setopt(m_curl.handle(), CURLOPT_POSTFIELDS, hit.c_str());
    for (std::size_t tries = 0; tries < m_proxies.size(); ++tries) {
        if (post_through(m_proxies[m_current]))
            return true;
        m_current = (m_current + 1) % m_proxies.size();
    }
    return false;
}

bool sender_t::post_through(const std::string& proxy) {
    CURL* const curl = m_curl.handle();
    curl_easy_setopt(curl, CURLOPT_PROXY, proxy.empty() ? nullptr : proxy.c_str());
    if (curl_easy_perform(curl) != CURLE_OK)
        return false;
    long status = 0;
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
    return status == delivered_status;
}

} // namespace OSTREL_NAMESPACE
