// Conversion between wide text and Boost.Filesystem's paths.
#pragma once

#include "toolkit/quillkit/strings.h"

#include <boost/filesystem/path.hpp>

#include <string>
#include <type_traits>

namespace kiln2 {

// On Linux Boost.Filesystem would convert wide text with the C locale, which is ASCII unless the host sets
// another locale. So these functions convert to UTF-8 themselves.
template <class Path = boost::filesystem::path>
Path to_native(const std::wstring& text) {
    if constexpr (std::is_same_v<typename Path::value_type, wchar_t>)
        return Path(text);
    else
        return Path(quillkit::strings::utf16_to_utf8(text));
}

template <class Path>
std::wstring from_native(const Path& path) {
    if constexpr (std::is_same_v<typename Path::value_type, wchar_t>)
        return path.native();
    else
        return quillkit::strings::utf8_to_utf16(path.native());
}

} // namespace kiln2
