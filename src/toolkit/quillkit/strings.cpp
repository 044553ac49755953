// Stand-in for the host's portability library: conversion between UTF-8 and wide text.
#include "toolkit/quillkit/strings.h"

#include "text/utf.h"

namespace quillkit::strings {

std::wstring utf8_to_utf16(std::string_view text) {
    return ostrel_platform::to_wide(text);
}

std::string utf16_to_utf8(std::wstring_view text) {
    return ostrel_platform::to_utf8(text);
}

} // namespace quillkit::strings
