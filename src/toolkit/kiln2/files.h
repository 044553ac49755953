// Stand-in for the host toolkit's operations on files.
#pragma once

#include "kiln2/path.h"

namespace kiln2 {

/// Deletes a file.
/// @return false if the file is missing or cannot be deleted
bool remove_file(const path_t& path);

/// Creates a folder and every missing parent. On POSIX only the user can access the new folders. Existing
/// folders keep their mode. Throws boost::filesystem::filesystem_error if a folder cannot be created.
void create_folders(const path_t& path);

} // namespace kiln2
