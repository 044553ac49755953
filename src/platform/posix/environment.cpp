// The environment of the process, on POSIX.
#include "platform/environment.h"

#include "platform/utf.h"

#include <cstdlib>

namespace ostrel_platform {

std::optional<std::wstring> environment_variable(const std::wstring& name) {
    const char* const value = std::getenv(to_utf8(name).c_str()); // NOLINT(concurrency-mt-unsafe): only read
    if (value == nullptr)
        return std::nullopt;
    return to_wide(value);
}

} // namespace ostrel_platform
