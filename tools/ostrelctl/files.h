// What lies at the places where the library looks.
#pragma once

#include "kiln2/path.h"

#include <string>

namespace ostrelctl {

/// One file or folder of the library.
struct file_t {
    std::string role;
    std::string path;
    std::string state; ///< "missing", "folder", "readable", "unreadable", "not a file" or "malformed"
    std::string mode;  ///< four octal digits; empty when it is missing
};

/// Looks at a file. @param is_bag whether it has to be a bag, and is malformed when it is none
file_t look_at_file(const std::string& role, const kiln2::path_t& path, bool is_bag);

/// Looks at a folder.
file_t look_at_folder(const std::string& role, const kiln2::path_t& path);

} // namespace ostrelctl
