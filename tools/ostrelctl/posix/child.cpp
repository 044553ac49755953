// The watched command, on POSIX.
#include "child.h"

#include "printable.h"
#include "terminal.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <string_view>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace ostrelctl {

namespace {

constexpr int signalled = 128; // added to the signal's number, as in shells

sigset_t former_mask;

// SIGPIPE too: if the reader of the tool's output exits, the tool still has to wait for the command.
sigset_t handled_signals() {
    sigset_t signals;
    ::sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGCHLD, SIGPIPE})
        ::sigaddset(&signals, number);
    return signals;
}

std::vector<char*> pointers_to(const std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (const std::string& text : texts)
        pointers.push_back(
            const_cast<char*>(text.c_str())); // NOLINT(cppcoreguidelines-pro-type-const-cast): for exec
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> environment_with(const std::vector<std::pair<std::string, std::string>>& variables) {
    std::vector<std::string> texts;
    for (const auto& [name, value] : variables)
        texts.emplace_back(name).append("=").append(value);
    for (char** entry = ::environ; *entry != nullptr; ++entry) {
        const std::string_view name(*entry, std::strcspn(*entry, "="));
        if (std::none_of(variables.begin(), variables.end(),
                         [&](const auto& one) { return one.first == name; }))
            texts.emplace_back(*entry);
    }
    return texts;
}

/// @return 0 if the command was started, otherwise an error number
int start(const command_line_t& command, pid_t& child) {
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_t actions;
    ::posix_spawnattr_init(&attributes);
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawnattr_setsigmask(&attributes, &former_mask);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    ::posix_spawn_file_actions_adddup2(&actions, STDERR_FILENO, STDOUT_FILENO);
    const std::vector<std::string> environment = environment_with(command.variables);
    const int error = ::posix_spawnp(&child, command.words[0].c_str(), &actions, &attributes,
                                     pointers_to(command.words).data(), pointers_to(environment).data());
    ::posix_spawn_file_actions_destroy(&actions);
    ::posix_spawnattr_destroy(&attributes);
    return error;
}

/// Forwards signals of other processes. The terminal sends its own signals to the command directly.
void pass_on(const siginfo_t& signal, pid_t child) {
    if (signal.si_signo != SIGPIPE && signal.si_signo != SIGCHLD && signal.si_code <= 0)
        ::kill(child, signal.si_signo);
}

int wait_for(pid_t child) {
    const sigset_t signals = handled_signals();
    int status = 0;
    while (::waitpid(child, &status, WNOHANG) == 0) {
        siginfo_t signal{};
        if (::sigwaitinfo(&signals, &signal) > 0)
            pass_on(signal, child);
    }
    return WIFSIGNALED(status) ? signalled + WTERMSIG(status) : WEXITSTATUS(status);
}

} // namespace

void leave_interrupts_to_command() {
    std::signal(SIGCHLD, SIG_DFL); // if it were ignored, the exit status would be lost
    const sigset_t signals = handled_signals();
    ::pthread_sigmask(SIG_BLOCK, &signals, &former_mask);
}

void keep_private(std::intptr_t socket) {
    ::fcntl(static_cast<int>(socket), F_SETFD, FD_CLOEXEC);
}

int run(const command_line_t& command) {
    pid_t child = -1;
    const int error = start(command, child);
    if (error == 0)
        return wait_for(child);
    complain(printable(command.words[0]) + ": " +
             (error == ENOENT ? "command not found" : std::generic_category().message(error)));
    return error == ENOENT ? command_not_found : command_not_started;
}

} // namespace ostrelctl
