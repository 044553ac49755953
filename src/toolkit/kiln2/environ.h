// Stand-in for the host toolkit's environment reader.
#pragma once

#include <string>

namespace kiln2 {

/// The value of an environment variable; empty if it is not set. Each call reads the environment again.
std::wstring get_environ_value(const std::wstring& name);

} // namespace kiln2
