// Folders: creation with all parents.
#pragma once

#include "kiln2/path.h"
#include "ostrel/version.h"

namespace OSTREL_NAMESPACE {

/// The folder that contains @p path; empty for a root folder. Accesses no file.
kiln2::path_t parent_folder(const kiln2::path_t& path);

/// Creates a folder and every missing parent. On POSIX only the user can access the new folders. Existing
/// folders keep their mode. Throws boost::filesystem::filesystem_error if a folder cannot be created.
void create_folders(const kiln2::path_t& path);

} // namespace OSTREL_NAMESPACE
