// The environment of the process.
#pragma once

#include <optional>
#include <string>

namespace ostrel_platform {

/// The value of an environment variable; nullopt if it is not set. Each call reads the environment again.
std::optional<std::wstring> environment_variable(const std::wstring& name);

/// Whether an environment variable is set and not empty. A value that is not valid text counts as set.
bool is_variable_set(const std::wstring& name);

} // namespace ostrel_platform
