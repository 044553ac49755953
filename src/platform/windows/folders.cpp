// The folders that the system names, on Windows.
#include "platform/folders.h"

#include <windows.h>

#include <shlobj.h>

#include <array>

namespace ostrel_platform {

namespace {

std::optional<std::wstring> shell_folder(int folder) {
    std::array<wchar_t, MAX_PATH> buffer{};
    if (FAILED(::SHGetFolderPathW(nullptr, folder, nullptr, 0, buffer.data())))
        return std::nullopt;
    return std::wstring(buffer.data());
}

} // namespace

std::optional<std::wstring> local_app_data_folder() {
    return shell_folder(CSIDL_LOCAL_APPDATA);
}

} // namespace ostrel_platform
