// Delivers hits to the collector in the background.
#include "http_connector/http_connector.h"

#include "http_connector/proxy_discovery.h"
#include "platform/signals.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>
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

constexpr std::array<bool, 256> mark_unreserved() {
    std::array<bool, 256> marks{};
    for (const char c :
         std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~"))
        marks[static_cast<unsigned char>(c)] = true;
    return marks;
}

bool is_unreserved(std::string_view text) {
    static constexpr std::array<bool, 256> unreserved = mark_unreserved();
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return unreserved[static_cast<unsigned char>(c)]; });
}

} // namespace

http_connector_t::http_connector_t(const char* url) : m_url(url) {
    if (m_curl.handle() != nullptr)
        prepare(m_curl.handle(), m_url);
    const ostrel_platform::signal_block_t inherited_by_the_thread;
    m_thread = boost::thread(&http_connector_t::run, this);
}

http_connector_t::~http_connector_t() {
    m_queue.push(std::string());
    m_thread.join();
}

void http_connector_t::send(std::string hit) {
    m_queue.push(std::move(hit));
}

std::string http_connector_t::escape(std::string text) const {
    // Most names need no escaping, and looking is far cheaper than having libcurl write them anew.
    if (is_unreserved(text))
        return text;
    const std::unique_ptr<char, decltype(&curl_free)> escaped(
        curl_easy_escape(m_curl.handle(), text.c_str(), 0), &curl_free);
    return escaped ? std::string(escaped.get()) : std::string();
}

void http_connector_t::run() {
    try {
        discover_proxies(m_url, m_proxies);
        m_proxies.emplace_back();
    } catch (...) {
        m_active = false; // out of memory: an exception that left this thread would end the host
    }
    deliver_until_stopped();
}

void http_connector_t::deliver_until_stopped() {
    for (;;) {
        const std::string hit = m_queue.pull();
        if (hit.empty())
            return;
        if (m_curl.handle() != nullptr && m_active)
            m_active = deliver(hit);
    }
}

bool http_connector_t::deliver(const std::string& hit) {
    curl_easy_setopt(m_curl.handle(), CURLOPT_POSTFIELDS, hit.c_str());
    for (std::size_t tries = 0; tries < m_proxies.size(); ++tries) {
        if (post_through(m_proxies[m_current]))
            return true;
        m_current = (m_current + 1) % m_proxies.size();
    }
    return false;
}

bool http_connector_t::post_through(const std::string& proxy) {
    CURL* const curl = m_curl.handle();
    curl_easy_setopt(curl, CURLOPT_PROXY, proxy.empty() ? nullptr : proxy.c_str());
    if (curl_easy_perform(curl) != CURLE_OK)
        return false;
    long status = 0;
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
    return status == delivered_status;
}

} // namespace OSTREL_NAMESPACE
