// Percent-encodes the parameters of a hit.
#include "http_connector/percent_encode.h"

#include "toolkit/quillkit/strings.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>

namespace OSTREL_NAMESPACE {

namespace {

constexpr std::array<bool, 128> mark_unreserved() {
    std::array<bool, 128> marks{};
    for (const char c :
         std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~"))
        marks[static_cast<unsigned char>(c)] = true;
    return marks;
}

bool is_unreserved(wchar_t unit) {
    static constexpr std::array<bool, 128> marks = mark_unreserved();
    // NOLINTNEXTLINE(bugprone-signed-char-misuse): a negative value becomes large and fails the test below
    const auto code = static_cast<std::uint32_t>(unit);
    return code < marks.size() && marks[code];
}

void append_escaped(std::string& target, const std::string& text) {
    const std::unique_ptr<char, decltype(&curl_free)> escaped(curl_easy_escape(nullptr, text.c_str(), 0),
                                                              &curl_free);
    if (escaped)
        target += escaped.get();
}

} // namespace

void append_percent_encoded(std::string& target, std::wstring_view text) {
    // Most names contain only unreserved characters. Copying these is faster than converting and escaping.
    const auto reserved = std::find_if_not(text.begin(), text.end(), &is_unreserved);
    const auto count = static_cast<std::size_t>(reserved - text.begin());
    target.resize(target.size() + count);
    std::transform(text.begin(), reserved, target.end() - (reserved - text.begin()),
                   [](wchar_t unit) { return static_cast<char>(unit); });
    if (count == text.size())
        return;
    text.remove_prefix(count);
    append_escaped(target, quillkit::strings::utf16_to_utf8(text));
}

} // namespace OSTREL_NAMESPACE
