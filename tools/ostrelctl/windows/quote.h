// Arguments in the one text that a program for Windows is started with.
#pragma once

#include <string>
#include <vector>

namespace ostrelctl {

/// The argument in a form that the C runtime reads back unchanged: in quotes where it needs them, with quotes
/// escaped and the backslashes before them doubled.
std::wstring quoted_for_runtime(const std::wstring& argument);

/// Whether the command processor runs the file.
bool is_batch_file(std::wstring path);

/// Whether the words (UTF-8) hold no character with a meaning for the command processor, which reads
/// arguments by other rules than the runtime's. The first one, the program, does not count.
bool are_safe_for_batch(const std::vector<std::string>& words);

} // namespace ostrelctl
