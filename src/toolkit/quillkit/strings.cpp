// Stand-in for the host's portability library: text conversion at the library's borders.
#include "toolkit/quillkit/strings.h"

#include "platform/utf.h"

namespace quillkit::strings {

std::wstring utf8_to_utf16(std::string_view text) {
    return ostrel_platform::to_wide(text);
}

std::string utf16_to_utf8(std::wstring_view text) {
    return ostrel_platform::to_utf8(text);
}

// The units are left as they are: filling them first would cost more than the text.
wide_text_t::wide_text_t(std::string_view text) {
    if (text.size() <= m_units.size()) {
        const wchar_t* const end = ostrel_platform::to_wide(text, m_units.data());
        m_view = {m_units.data(), static_cast<std::size_t>(end - m_units.data())};
        return;
    }
    m_text = utf8_to_utf16(text);
    m_view = m_text;
}

} // namespace quillkit::strings
