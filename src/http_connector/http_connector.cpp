// Delivers hits to the collector in the background.
#include "http_connector/http_connector.h"

#include "platform/fork.h"

#include <utility>

namespace OSTREL_NAMESPACE {

http_connector_t::http_connector_t(const char* url)
    : m_fork_generation(ostrel_platform::fork_generation()), m_sender(std::make_unique<sender_t>(url)) {}

http_connector_t::~http_connector_t() {
    // In a forked child the thread cannot be joined. The parent may have held the queue's or libcurl's locks
    // at the fork, so the sender is leaked deliberately.
    if (is_inherited())
        static_cast<void>(m_sender.release());
}

void http_connector_t::prepare() {
    if (!is_inherited())
        m_sender->prepare();
}

void http_connector_t::send(std::string hit) {
    if (!is_inherited())
        m_sender->send(std::move(hit));
}

bool http_connector_t::is_inherited() const {
    return m_fork_generation != ostrel_platform::fork_generation();
}

} // namespace OSTREL_NAMESPACE
