// The environment of the process, on POSIX.
#include "platform/environment.h"

#include "text/utf.h"

#include <cstdlib>

namespace ostrel_platform {

namespace {

const char* raw_value(const std::wstring& name) {
    return std::getenv(to_utf8(name).c_str()); // NOLINT(concurrency-mt-unsafe): only read
}

} // namespace

std::optional<std::wstring> environment_variable(const std::wstring& name) {
    const char* const value = raw_value(name);
    if (value == nullptr)
        return std::nullopt;
    return to_wide(value);
}

bool is_variable_set(const std::wstring& name) {
    const char* const value = raw_value(name);
    return value != nullptr && *value != '\0';
}

} // namespace ostrel_platform
