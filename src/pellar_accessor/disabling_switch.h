// The environment variables that switch off operations of the bridge to the software manager.
#pragma once

#include "ostrel/version.h"

#include <string>

namespace OSTREL_NAMESPACE {

/// Traces the result.
/// @return false if the environment variable is set and not empty
bool is_allowed_by(const std::wstring& variable);

} // namespace OSTREL_NAMESPACE
