// What the tool needs of the system beyond what the library does.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ostrelctl {

/// The arguments without the program's name; UTF-8.
std::vector<std::string> utf8_arguments(int count, char** arguments);

/// Whether standard output is a terminal.
bool is_terminal();

/// Whether standard output is a terminal with colours, and the user has not turned them off.
bool has_colours();

/// Writes UTF-8 to standard output. @return false if it cannot be written
bool print(std::string_view text);

/// Writes a message and the tool's name to standard error.
void complain(std::string_view message);

/// Why the system names no folder for a user's data.
std::string why_no_folder();

/// The permissions of a file or folder in four octal digits; empty where there is none.
std::string mode_of(const std::wstring& path);

} // namespace ostrelctl
