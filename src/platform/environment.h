// The environment of the process.
#pragma once

#include <optional>
#include <string>

namespace ostrel_platform {

/// The value of a variable; nothing if it is unset. Each call reads it again.
std::optional<std::wstring> environment_variable(const std::wstring& name);

/// Whether a variable is set and not empty. A value that is not valid text counts as set.
bool is_variable_set(const std::wstring& name);

} // namespace ostrel_platform
