// The sending thread and its queue.
#include "http_connector/sender.h"

#include "platform/signals.h"

#include <utility>

namespace OSTREL_NAMESPACE {

sender_t::sender_t(const char* url) : m_url(url) {
    // A libcurl that is not thread-safe is initialised on the host's thread, while the host creates the
    // object.
    if (!is_curl_thread_safe())
        m_curl.emplace();
    const ostrel_platform::signal_block_t inherited_by_the_thread;
    m_thread = boost::thread(&sender_t::run, this);
}

sender_t::~sender_t() { // NOLINT(bugprone-exception-escape): no marker, no join
    // A host may interrupt its thread with Boost.Thread while it waits here. The exception would leave the
    // destructor and end the process.
    const boost::this_thread::disable_interruption no_exception;
    m_queue.push(std::string());
    m_thread.join();
}

void sender_t::prepare() {
    m_queue.push(std::nullopt);
}

void sender_t::send(std::string&& hit) {
    m_queue.push(std::move(hit));
}

void sender_t::run() {
    for (;;) {
        const std::optional<std::string> hit = m_queue.pull();
        if (hit && hit->empty())
            return;
        prepare_once();
        if (hit && m_poster)
            m_poster->post(*hit);
    }
}

void sender_t::prepare_once() {
    if (std::exchange(m_is_prepared, true))
        return;
    try {
        if (!m_curl)
            m_curl.emplace();
        m_poster.emplace(m_curl->handle(), m_url);
    } catch (...) { // NOLINT(bugprone-empty-catch): out of memory; an exception that left the thread would
                    // end the host
    }
}

} // namespace OSTREL_NAMESPACE
