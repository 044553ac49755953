// Delivers hits to the collector in the background.
#include "http_connector/http_connector.h"

#include "http_connector/percent_encode.h"
#include "platform/fork.h"

#include <utility>

namespace OSTREL_NAMESPACE {

http_connector_t::http_connector_t(const char* url)
    : m_fork_generation(ostrel_platform::fork_generation()), m_sender(std::make_unique<sender_t>(url)) {}

http_connector_t::~http_connector_t() {
    // Queue and handle may be in the middle of something that only the parent's thread could end; the thread
    // itself cannot be joined. They are left alone, on purpose, for the rest of the child's life.
    if (is_inherited())
        static_cast<void>(m_sender.release());
}

void http_connector_t::send(std::string hit) {
    if (!is_inherited())
        m_sender->send(std::move(hit));
}

std::string http_connector_t::escape(std::string text) const {
    return percent_encode(std::move(text), m_sender->handle());
}

bool http_connector_t::is_inherited() const {
    return m_fork_generation != ostrel_platform::fork_generation();
}

} // namespace OSTREL_NAMESPACE
