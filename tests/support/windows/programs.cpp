// Programs that a test runs, on Windows.
#include "support/programs.h"

#include "ostrelctl/windows/quote.h"
#include "text/utf.h"

#include <windows.h>

#include <stdexcept>

namespace test_support {

namespace {

constexpr const wchar_t* shell_folders =
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders";

/// The user's key itself, which no other process sees replaced.
HKEY users_folders() {
    HKEY user = nullptr;
    HKEY folders = nullptr;
    ::RegOpenCurrentUser(KEY_ALL_ACCESS, &user);
    ::RegOpenKeyExW(user, shell_folders, 0, KEY_ALL_ACCESS, &folders);
    ::RegCloseKey(user);
    return folders;
}

void store_folder(HKEY folders, DWORD type, const std::wstring& text) {
    ::RegSetValueExW(folders, L"Local AppData", 0, type, reinterpret_cast<const BYTE*>(text.c_str()),
                     static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
}

/// A file that takes what a program writes, and goes with its last handle.
HANDLE output_file(const std::wstring& name) {
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    const std::wstring path = (std::filesystem::temp_directory_path() /
                               (L"ostrel-test-" + std::to_wstring(::GetCurrentProcessId()) + name))
                                  .wstring();
    return ::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                         &inheritable, CREATE_ALWAYS, FILE_FLAG_DELETE_ON_CLOSE, nullptr);
}

std::string take_text(HANDLE file) {
    std::string text(::GetFileSize(file, nullptr), '\0');
    DWORD count = 0;
    ::SetFilePointer(file, 0, nullptr, FILE_BEGIN);
    ::ReadFile(file, text.data(), static_cast<DWORD>(text.size()), &count, nullptr);
    ::CloseHandle(file);
    return text;
}

} // namespace

children_app_data_t::children_app_data_t(const std::filesystem::path& folder) {
    const HKEY folders = users_folders();
    store_folder(folders, REG_SZ, folder.wstring());
    ::RegCloseKey(folders);
}

children_app_data_t::~children_app_data_t() {
    const HKEY folders = users_folders();
    store_folder(folders, REG_EXPAND_SZ, L"%USERPROFILE%\\AppData\\Local");
    ::RegCloseKey(folders);
}

finished_t run_program(const std::vector<std::string>& words) {
    std::wstring line;
    for (const std::string& word : words)
        line += ostrelctl::quoted_for_runtime(ostrel_platform::to_wide(word)) + L" ";
    STARTUPINFOW info{};
    info.cb = sizeof info;
    info.dwFlags = STARTF_USESTDHANDLES;
    info.hStdInput = ::GetStdHandle(STD_INPUT_HANDLE);
    info.hStdOutput = output_file(L"-output");
    info.hStdError = output_file(L"-errors");
    PROCESS_INFORMATION process{};
    DWORD status = 0;
    const std::wstring program = std::filesystem::u8path(words[0]).make_preferred().wstring();
    if (!::CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &info,
                          &process))
        throw std::runtime_error("cannot start " + words[0]);
    ::WaitForSingleObject(process.hProcess, INFINITE);
    ::GetExitCodeProcess(process.hProcess, &status);
    ::CloseHandle(process.hProcess);
    ::CloseHandle(process.hThread);
    return {status, take_text(info.hStdOutput), take_text(info.hStdError)};
}

} // namespace test_support
