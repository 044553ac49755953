#include "hit.h"

#include <boost/locale/utf.hpp>

#include <utility>

namespace collector {

namespace {

using utf8_t = boost::locale::utf::utf_traits<char>;

constexpr std::string_view beginning = "v=1&tid=UA-40271936-07&cid=";

[[noreturn]] void fail(const std::string& reason) {
    throw malformed_hit_t(reason);
}

int hex_digit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

bool is_unreserved(char c) {
    const bool is_letter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    return is_letter || (c >= '0' && c <= '9') || c == '-' || c == '.' || c == '_' || c == '~';
}

/// Removes the percent-encoded beginning of @p text and returns it decoded.
std::string take_encoded(std::string_view& text) {
    std::string result;
    while (!text.empty()) {
        const bool has_escape = text.size() > 2 && text[0] == '%';
        const int high = has_escape ? hex_digit(text[1]) : -1;
        const int low = has_escape ? hex_digit(text[2]) : -1;
        if (!is_unreserved(text[0]) && (high < 0 || low < 0))
            break;
        result.push_back(is_unreserved(text[0]) ? text[0] : static_cast<char>(high * 16 + low));
        text.remove_prefix(is_unreserved(text[0]) ? 1 : 3);
    }
    return result;
}

std::string checked(std::string_view name, std::string text) {
    const char* position = text.data();
    const char* const end = position + text.size();
    while (position != end)
        if (!boost::locale::utf::is_valid_codepoint(utf8_t::decode(position, end)))
            fail(std::string(name) + " is not UTF-8");
    return text;
}

bool take(std::string_view& text, std::string_view prefix) {
    if (text.substr(0, prefix.size()) != prefix)
        return false;
    text.remove_prefix(prefix.size());
    return true;
}

/// Removes the machine id and the product. The product is the first "&an=" that is followed by a version.
void take_front(std::string_view& text, hit_t& hit) {
    constexpr std::string_view product = "&an=";
    for (std::size_t at = text.find(product); at != std::string_view::npos; at = text.find(product, at + 1)) {
        std::string_view rest = text.substr(at + product.size());
        std::string name = take_encoded(rest);
        if (!take(rest, "&av="))
            continue;
        hit.machine_id = checked("the machine id", std::string(text.substr(0, at)));
        hit.product = checked("the product", std::move(name));
        text = rest;
        return;
    }
    fail("no product and version");
}

/// Removes the last parameter if it begins with @p name. @return its encoded value
std::optional<std::string_view> take_last(std::string_view& text, std::string_view name) {
    const std::size_t begin = text.rfind('&');
    if (begin == std::string_view::npos)
        return std::nullopt;
    std::string_view value = text.substr(begin + 1);
    if (!take(value, name))
        return std::nullopt;
    text = text.substr(0, begin);
    return value;
}

std::string decoded(std::string_view name, std::optional<std::string_view> value) {
    if (!value)
        fail("no " + std::string(name));
    std::string text = take_encoded(*value);
    if (!value->empty())
        fail("the " + std::string(name) + " is not percent-encoded");
    return checked("the " + std::string(name), std::move(text));
}

/// Removes all parameters after the version.
void take_back(std::string_view& text, hit_t& hit) {
    const auto regular = take_last(text, "cd3=");
    if (regular != "y" && regular != "n")
        fail("\"cd3\" is neither \"y\" nor \"n\"");
    hit.is_regular_user = regular == "y";
    if (const auto label = take_last(text, "el="))
        hit.label = decoded("label", label);
    hit.category = decoded("category", take_last(text, "ec="));
    if (take_last(text, "t=") != "event")
        fail("the hit is not an event");
    hit.os = decoded("system", take_last(text, "cd2="));
    if (take_last(text, "cd1=") != "win32")
        fail("\"cd1\" is not \"win32\"");
}

} // namespace

hit_t parse_hit(std::string_view body) {
    if (!take(body, beginning))
        fail("the text does not begin like a hit");
    hit_t hit;
    take_front(body, hit);
    take_back(body, hit);
    hit.version = checked("the version", std::string(body));
    return hit;
}

std::string describe(const hit_t& hit) {
    return "category " + quoted(hit.category) + ", " +
           (hit.label ? "label " + quoted(*hit.label) : "no label") + ", product " + quoted(hit.product) +
           ", version " + quoted(hit.version) + ", regular user: " + (hit.is_regular_user ? "yes" : "no");
}

std::string quoted(std::string_view text) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string result = "\"";
    const char* position = text.data();
    const char* const end = position + text.size();
    while (position != end) {
        const char* const start = position;
        const auto point = utf8_t::decode(position, end);
        const bool is_control = point < 0x20 || (point >= 0x7F && point < 0xA0);
        if (point == '"' || point == '\\')
            result.append(1, '\\').append(start, position);
        else if (boost::locale::utf::is_valid_codepoint(point) && !is_control)
            result.append(start, position);
        else
            for (const char* byte = start; byte != position; ++byte)
                result.append("\\x")
                    .append(1, digits[static_cast<unsigned char>(*byte) >> 4U])
                    .append(1, digits[static_cast<unsigned char>(*byte) & 0xFU]);
    }
    return result + "\"";
}

} // namespace collector
