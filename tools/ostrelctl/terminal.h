// What the tool needs of the system beyond what the library does.
#pragma once

#include <string>

namespace ostrelctl {

/// Whether standard output is a terminal.
bool is_terminal();

/// Why the system names no folder for a user's data.
std::string why_no_folder();

/// The permissions of a file or folder in four octal digits; empty where there is none.
std::string mode_of(const std::wstring& path);

} // namespace ostrelctl
