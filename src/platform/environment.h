// The environment of the process.
#pragma once

#include <optional>
#include <string>

namespace ostrel_platform {

/// The value of a variable; nothing when it is undefined. Read afresh at every call.
std::optional<std::wstring> environment_variable(const std::wstring& name);

/// Whether a variable holds anything at all, be it text or not.
bool is_variable_set(const std::wstring& name);

} // namespace ostrel_platform
