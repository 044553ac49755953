// Texts as they stand in the parameters of a hit.
#pragma once

#include "ostrel/version.h"

#include <string>

namespace OSTREL_NAMESPACE {

/// Percent-encodes @p text up to its first NUL, leaving the unreserved characters of RFC 3986.
/// @param handle a CURL*; libcurl needs none since version 7.82
std::string percent_encode(std::string text, void* handle = nullptr);

} // namespace OSTREL_NAMESPACE
