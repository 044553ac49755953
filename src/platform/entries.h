// What lies at a path, found out without opening or changing a file.
#pragma once

#include <string>

namespace ostrel_platform {

enum class entry_t {
    missing,
    folder,
    file,
    stream,        ///< a device or a pipe
    dangling_link, ///< a symbolic link without a target
    other,         ///< for example a socket
    unreachable,   ///< a folder on the way may not be searched
};

/// What the path names. Symbolic links are followed.
entry_t look_at(const std::wstring& path);

/// Whether this user may create files and folders in @p folder; false if it is missing.
bool may_create_in(const std::wstring& folder);

} // namespace ostrel_platform
