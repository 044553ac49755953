// The folders that the system names, on POSIX: the XDG base directories and /opt.
#include "platform/folders.h"

#include "text/utf.h"

#include <cstdlib>

namespace ostrel_platform {

namespace {

struct lookup_t {
    std::optional<std::wstring> folder;
    std::optional<std::wstring> malformed_variable;
};

constexpr std::pair<const char*, const wchar_t*> places[] = {{"XDG_DATA_HOME", L""},
                                                             {"HOME", L"/.local/share"}};

// By the XDG Base Directory rules, relative paths are invalid and ignored. If HOME is missing, the password
// database is not asked, because the database may be on another machine.
lookup_t look_up() {
    for (const auto& [variable, below] : places) {
        const char* const value = std::getenv(variable); // NOLINT(concurrency-mt-unsafe): only read
        if (value == nullptr || *value != '/')
            continue;
        const std::wstring text = to_wide(value);
        // Conversion leaves malformed bytes out. The remaining path could name another user's folder.
        if (to_utf8(text) != value)
            return {std::nullopt, to_wide(variable)};
        return {text + below, std::nullopt};
    }
    return {};
}

} // namespace

std::optional<std::wstring> local_app_data_folder() {
    return look_up().folder;
}

std::optional<std::wstring> malformed_folder_variable() {
    return look_up().malformed_variable;
}

std::optional<std::wstring> common_program_files_folder() {
    return L"/opt";
}

} // namespace ostrel_platform
