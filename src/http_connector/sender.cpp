// The sending thread and its queue.
#include "http_connector/sender.h"

#include "platform/exit_gate.h"
#include "platform/signals.h"

#include <utility>

namespace OSTREL_NAMESPACE {

sender_t::sender_t(const char* url) : m_url(url) {
    // If libcurl is not thread-safe, the host's thread initialises it while it creates the object.
    if (!is_curl_thread_safe())
        m_curl.emplace();
    ostrel_platform::guard_exit_of_this_thread();
    const ostrel_platform::signal_block_t inherited_by_the_thread;
    m_thread = boost::thread(&sender_t::run, this);
}

sender_t::~sender_t() { // NOLINT(bugprone-exception-escape): only if memory is short
    // If the host interrupts this thread with Boost.Thread, join throws. An exception from this destructor
    // would terminate the process.
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

void sender_t::initialise_libcurl() {
    const ostrel_platform::exit_gate_t gate;
    if (!m_curl && gate.is_open())
        m_curl.emplace();
}

void sender_t::prepare_once() {
    if (std::exchange(m_is_prepared, true))
        return;
    try {
        initialise_libcurl();
        if (m_curl)
            m_poster.emplace(m_curl->handle(), m_url);
    } catch (...) { // NOLINT(bugprone-empty-catch): hits are dropped; an exception would terminate the host
    }
}

} // namespace OSTREL_NAMESPACE
