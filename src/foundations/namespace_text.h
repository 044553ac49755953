// The name of the library's namespace as text, for the signatures in diagnostic lines.
#pragma once

#include "ostrel/version.h"

#define OSTREL_DETAIL_WIDEN(text) L##text
#define OSTREL_DETAIL_WIDE_TEXT(name) OSTREL_DETAIL_QUOTE(name)
#define OSTREL_DETAIL_QUOTE(name) OSTREL_DETAIL_WIDEN(#name)

/// A wide string literal, for example L"ostrel_1_2_3".
#define OSTREL_NAMESPACE_TEXT OSTREL_DETAIL_WIDE_TEXT(OSTREL_NAMESPACE)

/// The text for std::wstring in signatures. It does not depend on the compiler.
#define OSTREL_WSTRING_TEXT                                                                                  \
    L"std::basic_string<__wchar_t, std::char_traits<__wchar_t>, std::allocator<__wchar_t>>"
