// Texts as they stand in the parameters of a hit.
#include "http_connector/percent_encode.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>

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

std::string percent_encode(std::string text, void* handle) {
    // Most names need no escaping, and looking is far cheaper than having libcurl write them anew.
    if (is_unreserved(text))
        return text;
    const std::unique_ptr<char, decltype(&curl_free)> escaped(curl_easy_escape(handle, text.c_str(), 0),
                                                              &curl_free);
    return escaped ? std::string(escaped.get()) : std::string();
}

} // namespace OSTREL_NAMESPACE
