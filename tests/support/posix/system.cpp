// System functions for tests, on POSIX.
#include "support/system.h"

#include "platform/process.h"
#include "text/utf.h"

#include <cstdlib>

namespace test_support {

void set_variable(const std::string& name, const std::optional<std::string>& value) {
    value ? ::setenv(name.c_str(), value->c_str(), 1) : ::unsetenv(name.c_str());
}

local_app_data_t::local_app_data_t(const std::filesystem::path& folder) {
    set_variable("XDG_DATA_HOME", folder.string());
}

// The variable stays set: without it the library would use the real user's folder.
local_app_data_t::~local_app_data_t() = default;

children_app_data_t::children_app_data_t(const std::filesystem::path& /*folder*/) {} // inherited by children
children_app_data_t::~children_app_data_t() = default;

long long run_and_wait(const std::vector<std::string>& words) {
    ostrel_platform::command_t command;
    for (const std::string& word : words)
        command.elements.push_back(ostrel_platform::to_wide(word));
    return ostrel_platform::run_process(command).code;
}

} // namespace test_support
