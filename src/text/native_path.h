// Conversion between wide text and the paths of the C++ library and of Boost.Filesystem.
#pragma once

#include "text/utf.h"

#include <string>
#include <type_traits>

namespace ostrel_platform {

// On Linux, Boost.Filesystem would convert wide text with the C locale, and the C++ library would throw an
// exception for malformed text. So these functions convert to UTF-8 themselves.
template <class Path>
Path to_native(const std::wstring& text) {
    if constexpr (std::is_same_v<typename Path::value_type, wchar_t>)
        return Path(text);
    else
        return Path(to_utf8(text));
}

template <class Path>
std::wstring from_native(const Path& path) {
    if constexpr (std::is_same_v<typename Path::value_type, wchar_t>)
        return path.native();
    else
        return to_wide(path.native());
}

} // namespace ostrel_platform
