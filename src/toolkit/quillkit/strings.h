// Stand-in for the host's portability library: text conversion at the library's borders.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace quillkit::strings {

/// From UTF-8 to the system's wide text (UTF-16 on Windows, UTF-32 on Linux). Bytes that are not valid UTF-8
/// are left out.
std::wstring utf8_to_utf16(std::string_view text);

/// From the system's wide text to UTF-8. Units that are no characters (lone surrogates) are left out.
std::string utf16_to_utf8(std::wstring_view text);

/// What utf8_to_utf16 gives, for the length of a call: short text, as names of features are, needs no
/// heap.
class wide_text_t {
public:
    explicit wide_text_t(std::string_view text);
    wide_text_t(const wide_text_t&) = delete;
    wide_text_t& operator=(const wide_text_t&) = delete;

    /// Holds as long as the object.
    std::wstring_view view() const { return m_view; }

private:
    std::array<wchar_t, 64> m_units;
    std::wstring m_text; ///< where the units do not do
    std::wstring_view m_view;
};

} // namespace quillkit::strings
