// System functions for tests, on Windows.
#include "support/system.h"

#include "ostrelctl/windows/quote.h"
#include "text/utf.h"

#include <windows.h>

#include <tlhelp32.h>

#include <cstdlib>
#include <fcntl.h>
#include <process.h>

namespace test_support {

namespace {

const std::wstring own_key = L"Software\\ostrel-test-" + std::to_wstring(::GetCurrentProcessId());

/// Stores the folder below the key @p user and closes the key. If it is null, uses the user's real key.
void store_folder(DWORD type, const std::wstring& folder, HKEY user = nullptr) {
    if (user == nullptr)
        ::RegOpenCurrentUser(KEY_ALL_ACCESS, &user); // ignores RegOverridePredefKey
    ::RegSetKeyValueW(user, L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders",
                      L"Local AppData", type, folder.c_str(),
                      static_cast<DWORD>((folder.size() + 1) * sizeof(wchar_t)));
    ::RegCloseKey(user);
}

} // namespace

void set_variable(const std::string& name, const std::optional<std::string>& value) {
    // The runtime has its own copy of the environment, in which an empty value would remove the variable.
    const bool is_empty = value && value->empty();
    ::_putenv_s(name.c_str(), is_empty ? " " : value.value_or(std::string()).c_str());
    if (is_empty)
        *std::getenv(name.c_str()) = '\0';
    const std::wstring wide_name = ostrel_platform::to_wide(name);
    ::SetEnvironmentVariableW(wide_name.c_str(), value ? ostrel_platform::to_wide(*value).c_str() : nullptr);
}

// Windows takes this folder from the registry, not from LOCALAPPDATA, so this process gets a separate key.
local_app_data_t::local_app_data_t(const std::filesystem::path& folder) {
    HKEY own = nullptr;
    ::RegCreateKeyW(HKEY_CURRENT_USER, own_key.c_str(), &own);
    ::RegOverridePredefKey(HKEY_CURRENT_USER, own);
    store_folder(REG_SZ, folder.wstring(), own);
}

local_app_data_t::~local_app_data_t() {
    ::RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
    ::RegDeleteTreeW(HKEY_CURRENT_USER, own_key.c_str());
}

children_app_data_t::children_app_data_t(const std::filesystem::path& folder) {
    _fmode = _O_BINARY; // captured output of children keeps its line ends
    store_folder(REG_SZ, folder.wstring());
}

children_app_data_t::~children_app_data_t() {
    store_folder(REG_EXPAND_SZ, L"%USERPROFILE%\\AppData\\Local");
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

long long run_and_wait(const std::vector<std::string>& words) {
    std::wstring line;
    for (const std::string& word : words)
        line += ostrelctl::quoted_for_runtime(ostrel_platform::to_wide(word)) + L" ";
    const auto program = std::filesystem::u8path(words[0]).make_preferred();
    return ::_wspawnl(_P_WAIT, program.c_str(), line.c_str(), nullptr);
}

} // namespace test_support
