// UTF conversion for every layer, platform code included; malformed input never fails, it is left out.
#pragma once

#include <boost/locale/utf.hpp>

#include <iterator>
#include <string>
#include <string_view>
#include <type_traits>

namespace ostrel_platform {

/// Whether every code unit is ASCII, and so the same in every encoding. Looks at all of them without a
/// branch, which compilers turn into a few wide instructions.
template <class Char>
bool is_ascii(std::basic_string_view<Char> text) {
    std::make_unsigned_t<Char> bits = 0;
    for (const Char unit : text)
        bits |= static_cast<std::make_unsigned_t<Char>>(unit);
    return bits < 0x80;
}

/// Writes @p text to @p units one by one. Without a branch for the same reason.
/// @return whether that is all there is to convert, that is, whether the text is ASCII
inline bool widen_ascii(std::string_view text, wchar_t* units) {
    unsigned char bits = 0;
    for (const char unit : text) {
        bits |= static_cast<unsigned char>(unit);
        *units++ = static_cast<unsigned char>(unit);
    }
    return bits < 0x80;
}

/// Converts between UTF-8, UTF-16 and UTF-32, told apart by the size of the character type.
///
/// Code units that begin no well-formed sequence are dropped one by one, so that the text behind a broken
/// sequence survives.
template <class To, class From>
std::basic_string<To> convert_utf(std::basic_string_view<From> text) {
    namespace utf = boost::locale::utf;
    if (is_ascii(text))
        return std::basic_string<To>(text.begin(), text.end());
    std::basic_string<To> result;
    result.reserve(text.size());
    const From* position = text.data();
    const From* const end = position + text.size();
    while (position != end) {
        const From* const start = position;
        const utf::code_point point = utf::utf_traits<From>::template decode<const From*>(position, end);
        if (point == utf::illegal || point == utf::incomplete)
            position = start + 1;
        else
            utf::utf_traits<To>::template encode<>(point, std::back_inserter(result));
    }
    return result;
}

inline std::string to_utf8(std::wstring_view text) {
    return convert_utf<char>(text);
}

inline std::wstring to_wide(std::string_view text) {
    return convert_utf<wchar_t>(text);
}

} // namespace ostrel_platform
