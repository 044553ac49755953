// Text from outside made harmless for a terminal.
#pragma once

#include <string>
#include <string_view>

namespace ostrelctl {

/// The text with control characters and malformed UTF-8 as escape sequences (\x1B), byte by byte. What could
/// reorder the text of a line counts as a control character.
std::string printable(std::string_view text);

} // namespace ostrelctl
