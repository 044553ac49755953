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

std::optional<std::wstring> malformed_folder_variable() {
    return std::nullopt;
}

// The folder for 32-bit programs is first, because the software manager is a 32-bit program.
std::optional<std::wstring> common_program_files_folder() {
    if (auto folder = shell_folder(CSIDL_PROGRAM_FILES_COMMONX86))
        return folder;
    return shell_folder(CSIDL_PROGRAM_FILES_COMMON);
}

} // namespace ostrel_platform
