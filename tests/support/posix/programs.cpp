// Programs that a test runs, on POSIX.
#include "support/programs.h"

#include "platform/process.h"
#include "text/utf.h"

#include <gtest/gtest.h>

namespace test_support {

// Children inherit the variable.
children_app_data_t::children_app_data_t(const std::filesystem::path& /*folder*/) {}
children_app_data_t::~children_app_data_t() = default;

finished_t run_program(const std::vector<std::string>& words) {
    ostrel_platform::command_t command;
    for (const std::string& word : words)
        command.elements.push_back(ostrel_platform::to_wide(word));
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const std::uint32_t status = ostrel_platform::run_process(command).code;
    return {status, testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

} // namespace test_support
