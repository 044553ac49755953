// Programs that a test runs, on POSIX.
#include "support/programs.h"

#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test_support {

// Children inherit the variable.
children_app_data_t::children_app_data_t(const std::filesystem::path& /*folder*/) {}
children_app_data_t::~children_app_data_t() = default;

finished_t run_program(const std::vector<std::string>& words) {
    std::vector<char*> arguments;
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    pid_t child = -1;
    int status = -1;
    if (::posix_spawn(&child, arguments[0], nullptr, nullptr, arguments.data(), ::environ) == 0)
        ::waitpid(child, &status, 0);
    return {WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status),
            testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

} // namespace test_support
