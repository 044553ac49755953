// The switches in the environment that keep the bridge from doing something.
#pragma once

#include "ostrel/version.h"

#include <string>

namespace OSTREL_NAMESPACE {

/// @return false when the variable is set to anything but nothing; either answer is traced
bool is_allowed_by(const std::wstring& variable);

} // namespace OSTREL_NAMESPACE
