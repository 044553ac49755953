// Tells what a path names and what a folder contains. Changes no file.
#pragma once

#include <string>
#include <vector>

namespace ostrel_platform {

enum class entry_t {
    missing,
    folder,
    file,
    stream,        ///< a device or a pipe
    dangling_link, ///< a symbolic link whose target is missing
    other,         ///< for example a socket
    unreachable,   ///< this user lacks permission to search a folder of the path
};

/// Tells what the path names. Follows symbolic links.
entry_t look_at(const std::wstring& path);

/// The names of the entries in @p folder, without "." and "..", in any order. Empty if the folder cannot be
/// read.
std::vector<std::wstring> entry_names(const std::wstring& folder);

/// Whether this user may create files and folders in @p folder. False if the folder is missing.
bool may_create_in(const std::wstring& folder);

} // namespace ostrel_platform
