// What tests need of the system, on POSIX.
#include "support/system.h"

#include <cstdlib>

namespace test_support {

void set_variable(const std::string& name, const std::optional<std::string>& value) {
    if (value)
        ::setenv(name.c_str(), value->c_str(), 1);
    else
        ::unsetenv(name.c_str());
}

local_app_data_t::local_app_data_t(const std::filesystem::path& folder) {
    set_variable("XDG_DATA_HOME", folder.string());
}

// Stays: without the variable the folder would be the user's own.
local_app_data_t::~local_app_data_t() = default;

std::vector<std::string> utf8_arguments(int argc, char** argv) {
    return {argv + 1, argv + argc};
}

} // namespace test_support
