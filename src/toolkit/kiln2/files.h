// Stand-in for the host toolkit's operations on files.
#pragma once

#include "kiln2/path.h"

namespace kiln2 {

/// Deletes a file.
/// @return false if the file is missing or cannot be deleted
bool remove_file(const path_t& path);

} // namespace kiln2
