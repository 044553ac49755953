// What the tool asks of the system beyond what the library does.
#pragma once

#include "kiln2/path.h"

namespace ostrelctl {

/// Whether standard output goes to a person rather than to a file or a program.
bool is_terminal();

/// Whether this user may create files in the folder.
bool is_writable(const kiln2::path_t& folder);

} // namespace ostrelctl
