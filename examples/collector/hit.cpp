// What one posted hit says, read from its bytes alone.
#include "hit.h"

#include <boost/locale/utf.hpp>

#include <map>

namespace collector {

namespace {

using parameters_t = std::map<std::string, std::string, std::less<>>;
using utf8_t = boost::locale::utf::utf_traits<char>;

// The library sends these two as they stand, so a "%" in them begins no escape sequence.
bool is_sent_unescaped(std::string_view key) {
    return key == "cid" || key == "av";
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

std::string percent_decoded(std::string_view key, std::string_view value) {
    std::string result;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '%') {
            result.push_back(value[i]);
            continue;
        }
        const int high = i + 2 < value.size() ? hex_digit(value[i + 1]) : -1;
        const int low = high >= 0 ? hex_digit(value[i + 2]) : -1;
        if (low < 0)
            throw malformed_hit_t("broken escape sequence in \"" + std::string(key) + "\"");
        result.push_back(static_cast<char>(high * 16 + low));
        i += 2;
    }
    return result;
}

bool is_utf8(std::string_view text) {
    const char* position = text.data();
    const char* const end = position + text.size();
    while (position != end)
        if (!boost::locale::utf::is_valid_codepoint(utf8_t::decode(position, end)))
            return false;
    return true;
}

void add_parameter(parameters_t& parameters, std::string_view key, std::string_view value) {
    std::string decoded = is_sent_unescaped(key) ? std::string(value) : percent_decoded(key, value);
    if (!is_utf8(decoded))
        throw malformed_hit_t("\"" + std::string(key) + "\" is not UTF-8");
    if (!parameters.emplace(key, std::move(decoded)).second)
        throw malformed_hit_t("\"" + std::string(key) + "\" stands there twice");
}

// Where the value ends: at the next "&" that begins a parameter. A version may hold a bare "&", for it is
// sent unescaped.
std::size_t end_of_value(std::string_view text) {
    std::size_t end = text.find('&');
    while (end != std::string_view::npos) {
        const std::size_t next = text.find_first_of("&=", end + 1);
        if (next != std::string_view::npos && text[next] == '=')
            return end;
        end = next;
    }
    return text.size();
}

parameters_t parse_parameters(std::string_view body) {
    parameters_t parameters;
    while (!body.empty()) {
        const std::size_t equals = body.find('=');
        if (equals == std::string_view::npos || equals == 0)
            throw malformed_hit_t("text that is no parameter: " + quoted(body.substr(0, 40)));
        const std::string_view key = body.substr(0, equals);
        body.remove_prefix(equals + 1);
        const std::size_t end = end_of_value(body);
        add_parameter(parameters, key, body.substr(0, end));
        body.remove_prefix(end);
        if (!body.empty())
            body.remove_prefix(1);
    }
    return parameters;
}

const std::string& required(const parameters_t& parameters, std::string_view key) {
    const auto place = parameters.find(key);
    if (place == parameters.end())
        throw malformed_hit_t("\"" + std::string(key) + "\" is missing");
    return place->second;
}

void require(const parameters_t& parameters, std::string_view key, std::string_view value) {
    if (required(parameters, key) != value)
        throw malformed_hit_t("\"" + std::string(key) + "\" is not \"" + std::string(value) + "\"");
}

bool read_regular_user(const parameters_t& parameters) {
    const std::string& answer = required(parameters, "cd3");
    if (answer != "y" && answer != "n")
        throw malformed_hit_t("\"cd3\" is neither \"y\" nor \"n\"");
    return answer == "y";
}

} // namespace

hit_t parse_hit(std::string_view body) {
    const parameters_t parameters = parse_parameters(body);
    require(parameters, "v", "1");
    require(parameters, "t", "event");
    if (required(parameters, "tid").empty() || required(parameters, "cid").empty())
        throw malformed_hit_t("\"tid\" or \"cid\" is empty");
    hit_t hit;
    hit.category = required(parameters, "ec");
    hit.product = required(parameters, "an");
    hit.version = required(parameters, "av");
    hit.is_regular_user = read_regular_user(parameters);
    if (const auto label = parameters.find("el"); label != parameters.end())
        hit.label = label->second;
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
