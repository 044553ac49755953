// What tests need of the system, on Windows.
#include "support/system.h"

#include "text/utf.h"

#include <windows.h>

#include <shellapi.h>
#include <tlhelp32.h>

#include <cstdlib>

namespace test_support {

namespace {

using ostrel_platform::to_utf8;
using ostrel_platform::to_wide;

std::wstring own_key() {
    return L"Software\\ostrel-test-" + std::to_wstring(::GetCurrentProcessId());
}

} // namespace

void set_variable(const std::string& name, const std::optional<std::string>& value) {
    // The runtime keeps a copy of the environment and takes an empty value for a removal.
    const bool is_empty = value && value->empty();
    ::_putenv_s(name.c_str(), is_empty ? " " : value.value_or(std::string()).c_str());
    if (is_empty)
        *std::getenv(name.c_str()) = '\0';
    ::SetEnvironmentVariableW(to_wide(name).c_str(), value ? to_wide(*value).c_str() : nullptr);
}

// The variable LOCALAPPDATA does not move the folder. The registry does, so this process gets a separate one.
local_app_data_t::local_app_data_t(const std::filesystem::path& folder) {
    HKEY own = nullptr;
    const std::wstring text = folder.wstring();
    ::RegCreateKeyW(HKEY_CURRENT_USER, own_key().c_str(), &own);
    ::RegSetKeyValueW(own, L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders",
                      L"Local AppData", REG_SZ, text.c_str(),
                      static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
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
