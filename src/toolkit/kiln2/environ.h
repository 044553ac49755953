// Stand-in for the host toolkit's environment reader.
#pragma once

#include <string>

namespace kiln2 {

/// The value of an environment variable, empty when it is undefined. Read afresh at every call.
std::wstring get_environ_value(const std::wstring& name);

} // namespace kiln2
