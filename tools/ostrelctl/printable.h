// Makes untrusted text safe to print on a terminal.
#pragma once

#include <string>
#include <string_view>

namespace ostrelctl {

/// Replaces each byte of control characters and of malformed UTF-8 by an escape sequence such as \x1B.
/// Characters that change the direction of text count as control characters.
std::string printable(std::string_view text);

} // namespace ostrelctl
