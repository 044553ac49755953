// Stand-in for the host toolkit's operations on files.
#pragma once

#include "kiln2/path.h"

namespace kiln2 {

/// Deletes a file; false when that failed or there was none.
bool remove_file(const path_t& path);

/// Creates a folder with every missing parent, each for its user alone; existing ones keep their mode. Throws
/// boost::filesystem::filesystem_error if one cannot be created.
void create_folders(const path_t& path);

} // namespace kiln2
