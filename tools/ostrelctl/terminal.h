// Operations of the system that the tool needs and the library does not have.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ostrelctl {

/// The arguments without the program's name; UTF-8.
std::vector<std::string> utf8_arguments(int count, char** arguments);

/// Whether standard output is a terminal.
bool is_terminal();

/// Whether standard output is a terminal with colours and NO_COLOR is not set.
bool has_colours();

/// Writes UTF-8 to standard output. @return false if it cannot be written
bool print(std::string_view text);

/// Writes the tool's name and the message to standard error.
void complain(std::string_view message);

/// The reason why the system names no folder for the user's data.
std::string why_no_folder();

/// The permissions of a file or folder as four octal digits; empty if it is missing, and always on Windows.
std::string mode_of(const std::wstring& path);

} // namespace ostrelctl
