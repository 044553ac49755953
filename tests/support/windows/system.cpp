// What tests need of the system, on Windows.
#include "support/system.h"

#include "ostrelctl/windows/quote.h"
#include "platform/utf.h"

#include <windows.h>

#include <shellapi.h>
#include <tlhelp32.h>

#include <cstdlib>
#include <stdexcept>

namespace test_support {

namespace {

using ostrel_platform::to_utf8;
using ostrel_platform::to_wide;

constexpr const wchar_t* shell_folders =
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders";

std::wstring own_key() {
    return L"Software\\ostrel-test-" + std::to_wstring(::GetCurrentProcessId());
}

HKEY create_key(HKEY parent, const std::wstring& name) {
    HKEY key = nullptr;
    if (::RegCreateKeyExW(parent, name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) != 0)
        throw std::runtime_error("cannot create a registry key");
    return key;
}

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
    const std::wstring path =
        (std::filesystem::temp_directory_path() / (own_key().substr(9) + name)).wstring();
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
        line += ostrelctl::quoted_for_runtime(to_wide(word)) + L" ";
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

void set_variable(const std::string& name, const std::optional<std::string>& value) {
    // The runtime keeps a copy of the environment. An empty value, which a process may well be started with,
    // it takes for a removal.
    const bool is_empty = value && value->empty();
    ::_putenv_s(name.c_str(), is_empty ? " " : value.value_or(std::string()).c_str());
    if (is_empty)
        *std::getenv(name.c_str()) = '\0';
    ::SetEnvironmentVariableW(to_wide(name).c_str(), value ? to_wide(*value).c_str() : nullptr);
}

// The variable LOCALAPPDATA does not move the folder; the registry does, and this process gets one of its
// own.
local_app_data_t::local_app_data_t(const std::filesystem::path& folder) {
    const HKEY own = create_key(HKEY_CURRENT_USER, own_key());
    const HKEY folders = create_key(own, shell_folders);
    const std::wstring text = folder.wstring();
    ::RegSetValueExW(folders, L"Local AppData", 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                     static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    ::RegCloseKey(folders);
    ::RegOverridePredefKey(HKEY_CURRENT_USER, own);
    ::RegCloseKey(own);
}

local_app_data_t::~local_app_data_t() {
    ::RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
    ::RegDeleteTreeW(HKEY_CURRENT_USER, own_key().c_str());
}

std::size_t count_threads() {
    const HANDLE snapshot = ::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    std::size_t count = 0;
    for (BOOL more = ::Thread32First(snapshot, &entry); more != FALSE;
         more = ::Thread32Next(snapshot, &entry))
        count += entry.th32OwnerProcessID == ::GetCurrentProcessId() ? 1U : 0U;
    ::CloseHandle(snapshot);
    return count;
}

std::vector<std::string> utf8_arguments(int /*argc*/, char** /*argv*/) {
    int count = 0;
    wchar_t** const all = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    std::vector<std::string> result;
    for (int i = 1; i < count; ++i)
        result.push_back(to_utf8(all[i]));
    ::LocalFree(all);
    return result;
}

} // namespace test_support
