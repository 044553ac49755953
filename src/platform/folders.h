// The folders that the system names.
#pragma once

#include <optional>
#include <string>

namespace ostrel_platform {

/// The user's folder for application data that stays on this machine. The folder itself can be missing.
/// @return nullopt if the system names no folder
std::optional<std::wstring> local_app_data_folder();

/// If local_app_data_folder returns nullopt because the value of an environment variable is not UTF-8: the
/// name of this variable. Otherwise nullopt.
std::optional<std::wstring> malformed_folder_variable();

/// The machine's folder for components that several programs share; nullopt if the system names no folder.
std::optional<std::wstring> common_program_files_folder();

} // namespace ostrel_platform
