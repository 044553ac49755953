// What one posted hit says, read from its bytes alone: nothing of the library's own code is used to judge it.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace collector {

/// One event hit, its texts decoded to UTF-8.
struct hit_t {
    std::string machine_id;
    std::string product;
    std::string version;
    std::string os;
    std::string category;
    std::optional<std::string> label;
    bool is_regular_user = false;
};

/// Says for people what is wrong with the hit.
class malformed_hit_t : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads a hit as the library composes it. Throws malformed_hit_t for any other text.
///
/// Machine id and version are free text, sent without escapes: they may hold "&" and "=". So the hit is read
/// from both ends: the first product and version count, and the last system, category, label and regular
/// user.
hit_t parse_hit(std::string_view body);

/// One line without an end: category, label, product, version, regular user or not.
std::string describe(const hit_t& hit);

/// The text in quotes. What would break the line or steer a terminal is written as an escape sequence.
std::string quoted(std::string_view text);

} // namespace collector
