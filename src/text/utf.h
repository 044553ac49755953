// UTF conversion for all layers. Malformed parts of the input are left out. They are never an error.
#pragma once

#include <boost/locale/utf.hpp>

#include <string>
#include <string_view>
#include <type_traits>

namespace ostrel_platform {

/// Whether all code units are ASCII. ASCII text has equal code units in all three encodings. The loop has no
/// branch, so compilers can vectorise it.
template <class Char>
bool is_ascii(std::basic_string_view<Char> text) {
    std::make_unsigned_t<Char> bits = 0;
    for (const Char unit : text)
        bits |= static_cast<std::make_unsigned_t<Char>>(unit);
    return bits < 0x80;
}

/// Converts between UTF-8, UTF-16 and UTF-32. The size of the character type selects the encoding.
///
/// If a code unit begins no well-formed sequence, only this unit is left out. Decoding continues with the
/// next unit.
/// @return the end of the output
template <class To, class From, class Output>
Output transcode(std::basic_string_view<From> text, Output output) {
    namespace utf = boost::locale::utf;
    const From* position = text.data();
    const From* const end = position + text.size();
    while (position != end) {
        const From* const start = position;
        const utf::code_point point = utf::utf_traits<From>::template decode<const From*>(position, end);
        if (point == utf::illegal || point == utf::incomplete)
            position = start + 1;
        else
            output = utf::utf_traits<To>::template encode<>(point, output);
    }
    return output;
}

/// Like transcode, into a string.
template <class To, class From>
std::basic_string<To> convert_utf(std::basic_string_view<From> text) {
    if (is_ascii(text))
        return std::basic_string<To>(text.begin(), text.end());
    // Writing into a string of the largest possible size is several times faster than appending.
    constexpr std::size_t most_units = sizeof(To) == 1 && sizeof(From) != 1 ? 4 : 1; // for one input unit
    std::basic_string<To> result(text.size() * most_units, To());
    result.resize(static_cast<std::size_t>(transcode<To>(text, result.data()) - result.data()));
    return result;
}

inline std::string to_utf8(std::wstring_view text) {
    return convert_utf<char>(text);
}

/// Converts UTF-8 to wide text. @p units must have room for one unit per byte of @p text.
/// @return the end of the output
inline wchar_t* to_wide(std::string_view text, wchar_t* units) {
    // Most text is ASCII: copy it in one pass. If a non-ASCII byte was seen, convert properly.
    unsigned char bits = 0;
    wchar_t* end = units;
    for (const char byte : text) {
        bits |= static_cast<unsigned char>(byte);
        *end++ = static_cast<unsigned char>(byte);
    }
    return bits < 0x80 ? end : transcode<wchar_t>(text, units);
}

inline std::wstring to_wide(std::string_view text) {
    return convert_utf<wchar_t>(text);
}

} // namespace ostrel_platform
