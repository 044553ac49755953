// Texts in the form that the parameters of a hit have.
#pragma once

#include "ostrel/version.h"

#include <string>
#include <string_view>

namespace OSTREL_NAMESPACE {

/// Appends @p text up to its first NUL, in UTF-8 and percent-encoded except for the unreserved characters of
/// RFC 3986. Any thread.
void append_percent_encoded(std::string& target, std::wstring_view text);

} // namespace OSTREL_NAMESPACE
