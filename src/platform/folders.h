// The folders that the system names.
#pragma once

#include <optional>
#include <string>

namespace ostrel_platform {

/// The user's folder for application data that stays on this machine; nothing when the system names none.
/// It need not exist yet.
std::optional<std::wstring> local_app_data_folder();

} // namespace ostrel_platform
