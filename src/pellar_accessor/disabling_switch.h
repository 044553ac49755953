// The environment variables that switch operations of the bridge off.
#pragma once

#include "ostrel/version.h"

#include <string>

namespace OSTREL_NAMESPACE {

/// @return false if the variable is set and not empty; traces the result
bool is_allowed_by(const std::wstring& variable);

} // namespace OSTREL_NAMESPACE
