// What one posted hit says, read from its bytes alone: nothing of the library's own code is used to judge it.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace collector {

/// One event hit, its texts decoded to UTF-8.
struct hit_t {
    std::string category;
    std::optional<std::string> label;
    std::string product;
    std::string version;
    bool is_regular_user = false;
};

/// The text is fit for people: it says what is wrong with the hit.
class malformed_hit_t : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads a form-encoded event hit of the Measurement Protocol, version 1.
/// Throws malformed_hit_t when a parameter is missing, stands there twice, or cannot be decoded.
hit_t parse_hit(std::string_view body);

/// One line without an end: category, label, product, version, regular user or not.
std::string describe(const hit_t& hit);

/// The text in quotes. What would break the line or steer a terminal is written as an escape sequence.
std::string quoted(std::string_view text);

} // namespace collector
