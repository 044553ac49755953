// The folders that the system names.
#pragma once

#include <optional>
#include <string>

namespace ostrel_platform {

/// The user's folder for application data that stays on this machine; nothing when the system names none.
/// It need not exist yet.
std::optional<std::wstring> local_app_data_folder();

/// The environment variable that leaves local_app_data_folder without a folder because its value is not
/// UTF-8; nothing if there is none.
std::optional<std::wstring> malformed_folder_variable();

/// The machine's folder for components that several programs share; nothing when the system names none.
std::optional<std::wstring> common_program_files_folder();

} // namespace ostrel_platform
