// Quotes arguments: Windows starts a program with one command-line text, not with a list.
#pragma once

#include <string>
#include <vector>

namespace ostrelctl {

/// The argument in a form that the C runtime reads back unchanged: in quotes if necessary, with inner quotes
/// escaped and the backslashes before quotes doubled.
std::wstring quoted_for_runtime(const std::wstring& argument);

/// Whether the command processor (cmd.exe) runs the file.
bool is_batch_file(std::wstring path);

/// Whether the arguments hold no character with a special meaning for the command processor, whose quoting
/// rules differ from those of the C runtime. @param words UTF-8; the first one, the program, is not checked
bool are_safe_for_batch(const std::vector<std::string>& words);

} // namespace ostrelctl
