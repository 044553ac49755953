// Percent-encodes the parameters of a hit.
#pragma once

#include "ostrel/version.h"

#include <string>
#include <string_view>

namespace OSTREL_NAMESPACE {

/// Appends @p text, UTF-8 encoded and percent-encoded except for the unreserved characters of RFC 3986. Stops
/// at the first NUL. Thread-safe.
void append_percent_encoded(std::string& target, std::wstring_view text);

} // namespace OSTREL_NAMESPACE
