// Programs that a test runs, on POSIX.
#include "support/programs.h"

#include <cstdio>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test_support {

namespace {

/// A nameless file that takes what a program writes.
class output_file_t {
public:
    output_file_t() : m_file(std::tmpfile()) {}
    ~output_file_t() { std::fclose(m_file); }
    output_file_t(const output_file_t&) = delete;
    output_file_t& operator=(const output_file_t&) = delete;

    int descriptor() const { return ::fileno(m_file); }
    std::string text() const {
        std::string result;
        std::rewind(m_file);
        for (int byte = std::getc(m_file); byte != EOF; byte = std::getc(m_file))
            result.push_back(static_cast<char>(byte));
        return result;
    }

private:
    std::FILE* m_file;
};

} // namespace

// Children inherit the variable.
children_app_data_t::children_app_data_t(const std::filesystem::path& /*folder*/) {}
children_app_data_t::~children_app_data_t() = default;

finished_t run_program(const std::vector<std::string>& words) {
    std::vector<char*> arguments;
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    const output_file_t output, errors;
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, output.descriptor(), STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, errors.descriptor(), STDERR_FILENO);
    pid_t child = -1;
    const int error = ::posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), ::environ);
    ::posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    if (error != 0 || ::waitpid(child, &status, 0) != child)
        return {};
    return {WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status), output.text(), errors.text()};
}

} // namespace test_support
