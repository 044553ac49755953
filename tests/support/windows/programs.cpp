// Programs that a test runs, on Windows.
#include "support/programs.h"

#include "ostrelctl/windows/quote.h"
#include "text/utf.h"

#include <windows.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <process.h>

namespace test_support {

namespace {

// The user's key itself, which RegOverridePredefKey does not replace.
void store_folder(DWORD type, const std::wstring& folder) {
    HKEY user = nullptr;
    ::RegOpenCurrentUser(KEY_ALL_ACCESS, &user);
    ::RegSetKeyValueW(user, L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders",
                      L"Local AppData", type, folder.c_str(),
                      static_cast<DWORD>((folder.size() + 1) * sizeof(wchar_t)));
    ::RegCloseKey(user);
}

} // namespace

children_app_data_t::children_app_data_t(const std::filesystem::path& folder) {
    store_folder(REG_SZ, folder.wstring());
}
children_app_data_t::~children_app_data_t() {
    store_folder(REG_EXPAND_SZ, L"%USERPROFILE%\\AppData\\Local");
}

finished_t run_program(const std::vector<std::string>& words) {
    std::vector<std::wstring> quoted;
    std::vector<const wchar_t*> arguments;
    for (const std::string& word : words)
        quoted.push_back(ostrelctl::quoted_for_runtime(ostrel_platform::to_wide(word)));
    for (const std::wstring& word : quoted)
        arguments.push_back(word.c_str());
    arguments.push_back(nullptr);
    _fmode = _O_BINARY; // of the file that takes the output
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const auto program = std::filesystem::u8path(words[0]).make_preferred();
    const auto status = ::_wspawnv(_P_WAIT, program.c_str(), arguments.data());
    return {status, testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

} // namespace test_support
