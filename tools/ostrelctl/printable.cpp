// Makes untrusted text safe to print on a terminal.
#include "printable.h"

#include <boost/locale/utf.hpp>

namespace ostrelctl {

namespace {

namespace utf = boost::locale::utf;

bool is_harmless(utf::code_point point) {
    if (!utf::is_valid_codepoint(point) || point < 0x20 || (point >= 0x7F && point < 0xA0))
        return false;
    const bool is_line_end = point == 0x2028 || point == 0x2029;
    const bool is_direction = point == 0x200E || point == 0x200F || (point >= 0x202A && point <= 0x202E) ||
                              (point >= 0x2066 && point <= 0x2069);
    return !is_line_end && !is_direction;
}

void append_escaped(std::string& text, std::string_view bytes) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text.append("\\x").append(1, digits[value >> 4U]).append(1, digits[value & 0xFU]);
    }
}

} // namespace

std::string printable(std::string_view text) {
    std::string result;
    const char* position = text.data();
    const char* const end = position + text.size();
    while (position != end) {
        const char* const start = position;
        const bool harmless = is_harmless(utf::utf_traits<char>::decode(position, end));
        const std::string_view bytes(start, static_cast<std::size_t>(position - start));
        if (harmless)
            result.append(bytes);
        else
            append_escaped(result, bytes);
    }
    return result;
}

} // namespace ostrelctl
