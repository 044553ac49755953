// Stand-in for the host's portability library: conversion between UTF-8 and wide text.
#pragma once

#include <string>
#include <string_view>

namespace quillkit::strings {

/// Converts UTF-8 to the system's wide text (UTF-16 on Windows, UTF-32 on Linux). Bytes that are not valid
/// UTF-8 are left out.
std::wstring utf8_to_utf16(std::string_view text);

/// Converts the system's wide text to UTF-8. Code units that encode no character, such as lone surrogates,
/// are left out.
std::string utf16_to_utf8(std::wstring_view text);

} // namespace quillkit::strings
