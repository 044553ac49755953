// The folders that the system names, on POSIX: the XDG base directories and /opt.
#include "platform/folders.h"

#include "platform/environment.h"

namespace ostrel_platform {

namespace {

// The XDG Base Directory rules: a relative path is invalid and has to be ignored.
std::optional<std::wstring> absolute_folder(const std::wstring& variable) {
    auto value = environment_variable(variable);
    if (!value || value->empty() || value->front() != L'/')
        return std::nullopt;
    return value;
}

} // namespace

std::optional<std::wstring> local_app_data_folder() {
    if (auto data_home = absolute_folder(L"XDG_DATA_HOME"))
        return data_home;
    // The password database is not asked where HOME is missing: it may live behind a network.
    if (auto home = absolute_folder(L"HOME"))
        return *home + L"/.local/share";
    return std::nullopt;
}

std::optional<std::wstring> common_program_files_folder() {
    return L"/opt";
}

} // namespace ostrel_platform
