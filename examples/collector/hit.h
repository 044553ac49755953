// Parses a posted hit. Shares no code with the library, because a bug in shared code would not be noticed.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace collector {

/// One event hit. Its texts are decoded to UTF-8.
struct hit_t {
    std::string machine_id;
    std::string product;
    std::string version;
    std::string os;
    std::string category;
    std::optional<std::string> label;
    bool is_regular_user = false;
};

/// what() describes what is wrong with the hit, for a person.
class malformed_hit_t : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Parses a hit in the library's format. Throws malformed_hit_t for any other text.
///
/// Machine id and version are sent without escapes, so they may contain "&" and "=". For this reason the hit
/// is parsed from both ends: the first product is used, and the last system, category, label and regular
/// user. The text between them is the version.
hit_t parse_hit(std::string_view body);

/// @return category, label, product, version and regular user as one line, without a line break
std::string describe(const hit_t& hit);

/// @return the text in quotes. Quotes, backslashes, control characters and invalid UTF-8 are escaped.
std::string quoted(std::string_view text);

} // namespace collector
