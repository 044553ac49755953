// From the library's wide texts to the strings that log4cplus was built with.
#pragma once

#include "toolkit/quillkit/strings.h"

#include <log4cplus/tstring.h>

#include <string>
#include <type_traits>

namespace brask_1::log {

/// UTF-8 for the narrow build of log4cplus, the unchanged text for the wide build.
template <class Wide>
log4cplus::tstring to_tstring(const Wide& text) {
    if constexpr (std::is_same_v<log4cplus::tstring, std::wstring>)
        return log4cplus::tstring(text);
    else
        return quillkit::strings::utf16_to_utf8(text);
}

} // namespace brask_1::log
