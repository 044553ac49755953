// The environment of the process, on Windows.
#include "platform/environment.h"

#include <windows.h>

namespace ostrel_platform {

std::optional<std::wstring> environment_variable(const std::wstring& name) {
    // Another thread may change the variable between the call for its size and the call for its text.
    std::wstring value;
    DWORD needed = ::GetEnvironmentVariableW(name.c_str(), nullptr, 0);
    while (needed > value.size()) {
        value.resize(needed);
        ::SetLastError(ERROR_SUCCESS);
        needed = ::GetEnvironmentVariableW(name.c_str(), value.data(), static_cast<DWORD>(value.size()));
    }
    if (needed == 0 && (value.empty() || ::GetLastError() == ERROR_ENVVAR_NOT_FOUND))
        return std::nullopt;
    value.resize(needed);
    return value;
}

bool is_variable_set(const std::wstring& name) {
    // The result includes the terminating zero, so it is 1 for an empty value.
    return ::GetEnvironmentVariableW(name.c_str(), nullptr, 0) > 1;
}

} // namespace ostrel_platform
