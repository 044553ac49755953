// What tests need of the system, on POSIX.
#include "support/system.h"

#include <cstdlib>
#include <unistd.h>

namespace test_support {

void set_variable(const std::string& name, const std::optional<std::string>& value) {
    if (value)
        ::setenv(name.c_str(), value->c_str(), 1);
    else
        ::unsetenv(name.c_str());
}

std::optional<std::string> get_variable(const std::string& name) {
    const char* const value = std::getenv(name.c_str());
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

local_app_data_t::local_app_data_t(const std::filesystem::path& folder)
    : m_former(get_variable("XDG_DATA_HOME")) {
    set_variable("XDG_DATA_HOME", folder.string());
}

local_app_data_t::~local_app_data_t() {
    set_variable("XDG_DATA_HOME", m_former);
}

unsigned process_id() {
    return static_cast<unsigned>(::getpid());
}

} // namespace test_support
