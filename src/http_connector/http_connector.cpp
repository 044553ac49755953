// Delivers hits to the collector in the background.
#include "http_connector/http_connector.h"

#include "platform/fork.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace OSTREL_NAMESPACE {

namespace {

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
    // Most names need no escaping, and looking is far cheaper than having libcurl write them anew.
    if (is_unreserved(text))
        return text;
    const std::unique_ptr<char, decltype(&curl_free)> escaped(
        curl_easy_escape(m_sender->handle(), text.c_str(), 0), &curl_free);
    return escaped ? std::string(escaped.get()) : std::string();
}

bool http_connector_t::is_inherited() const {
    return m_fork_generation != ostrel_platform::fork_generation();
}

} // namespace OSTREL_NAMESPACE
