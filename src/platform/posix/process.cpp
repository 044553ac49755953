// Child processes, on POSIX.
#include "platform/process.h"

#include "platform/environment.h"
#include "platform/posix/descriptor.h"
#include "platform/signals.h"
#include "text/utf.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ostrel_platform {

namespace {

constexpr int first_private_descriptor = 3;
constexpr std::uint32_t killed = 128; // plus the signal's number, as in shells

/// The arguments in the form that exec takes.
class arguments_t {
public:
    explicit arguments_t(const std::vector<std::wstring>& elements) {
        m_texts.reserve(elements.size());
        for (const std::wstring& element : elements)
            m_pointers.push_back(m_texts.emplace_back(to_utf8(element)).data());
        m_pointers.push_back(nullptr);
    }
    arguments_t(const arguments_t&) = delete;
    arguments_t& operator=(const arguments_t&) = delete;

    char* const* get() const { return m_pointers.data(); }

private:
    std::vector<std::string> m_texts;
    std::vector<char*> m_pointers;
};

/// A child's initial state: default signal dispositions, an empty signal mask, and no open descriptors except
/// the standard streams. Descriptors that the host opened without close-on-exec are closed too.
class launch_t {
public:
    explicit launch_t(const command_t& command) : m_arguments(command.elements) {
        note(::posix_spawnattr_init(&m_attributes));
        note(::posix_spawn_file_actions_init(&m_actions));
        sigset_t signals;
        ::sigfillset(&signals);
        note(::posix_spawnattr_setsigdefault(&m_attributes, &signals));
        ::sigemptyset(&signals);
        note(::posix_spawnattr_setsigmask(&m_attributes, &signals));
        set_flags(POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
        note(::posix_spawn_file_actions_addclosefrom_np(&m_actions, first_private_descriptor));
    }
    ~launch_t() {
        ::posix_spawn_file_actions_destroy(&m_actions);
        ::posix_spawnattr_destroy(&m_attributes);
    }
    launch_t(const launch_t&) = delete;
    launch_t& operator=(const launch_t&) = delete;

    void leave_the_session() {
        set_flags(POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSID);
        for (int stream = 0; stream < first_private_descriptor; ++stream)
            note(::posix_spawn_file_actions_addopen(&m_actions, stream, "/dev/null", O_RDWR, 0));
    }

    /// @return 0 or an error number, also if exec failed
    int spawn(pid_t& child) const {
        if (m_error != 0)
            return m_error;
        return ::posix_spawn(&child, m_arguments.get()[0], &m_actions, &m_attributes, m_arguments.get(),
                             environ);
    }

private:
    void set_flags(int flags) { note(::posix_spawnattr_setflags(&m_attributes, static_cast<short>(flags))); }
    void note(int error) {
        if (m_error == 0)
            m_error = error;
    }

    arguments_t m_arguments;
    posix_spawnattr_t m_attributes{};
    posix_spawn_file_actions_t m_actions{};
    int m_error = 0;
};

run_result_t wait_for(pid_t child) {
    int status = 0;
    while (::waitpid(child, &status, 0) < 0)
        if (errno != EINTR)
            return {false, static_cast<std::uint32_t>(errno)};
    if (WIFSIGNALED(status))
        return {true, killed + static_cast<std::uint32_t>(WTERMSIG(status))};
    return {true, static_cast<std::uint32_t>(WEXITSTATUS(status))};
}

struct pipe_t {
    descriptor_t reader{-1};
    descriptor_t writer{-1};
};

pipe_t open_pipe() {
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC) != 0)
        return {};
    return {descriptor_t(ends[0]), descriptor_t(ends[1])};
}

// Runs in the starter, a short-lived process between this one and the program. The starter uses the host's
// stack while the host's thread is suspended. So this function must not return, run destructors, allocate
// memory or take a lock. The C library's posix_spawn follows these rules too.
[[noreturn]] void start_and_report(const launch_t& launch, const descriptor_t& report) {
    pid_t child = -1;
    const int error = launch.spawn(child);
    const ssize_t written = ::write(report.get(), &error, sizeof error);
    ::_exit(written == static_cast<ssize_t>(sizeof error) ? 0 : 1);
}

// Calls vfork, because fork copies the host's page tables: in a host of 1 GB, fork takes 345 ms and vfork
// 15 ms. Signals are blocked, because the host's handlers must not run in the starter.
pid_t fork_starter(const launch_t& launch, const descriptor_t& report) {
    const signal_block_t block;
    const pid_t starter = ::vfork(); // NOLINT(clang-analyzer-security.insecureAPI.vfork)
    if (starter == 0)
        start_and_report(launch, report); // NOLINT(clang-analyzer-unix.Vfork)
    return starter;
}

// The starter reports through a pipe. Memory shared by vfork is not used, because sanitizers and emulators
// replace vfork by fork. This function reads one number and does not wait for the end of the pipe: if the
// host forks another process in the meantime, that process keeps the pipe open, and the wait could block.
bool read_report(const descriptor_t& report) {
    int error = -1;
    ssize_t count = -1;
    do
        count = ::read(report.get(), &error, sizeof error);
    while (count < 0 && errno == EINTR);
    return count == static_cast<ssize_t>(sizeof error) && error == 0;
}

} // namespace

run_result_t run_process(const command_t& command) {
    const launch_t launch(command);
    pid_t child = -1;
    if (const int error = launch.spawn(child); error != 0)
        return {false, static_cast<std::uint32_t>(error)};
    return wait_for(child);
}

// The starter starts the program and exits immediately. The init process then becomes the parent of the
// program, so the host need not wait for the program.
bool start_detached(const command_t& command) {
    launch_t launch(command);
    launch.leave_the_session();
    pipe_t report = open_pipe();
    if (!report.reader.is_open())
        return false;
    const pid_t starter = fork_starter(launch, report.writer);
    if (starter < 0)
        return false;
    { const descriptor_t closed = std::move(report.writer); }
    const bool started = read_report(report.reader);
    wait_for(starter);
    return started;
}

std::uint32_t process_id() {
    return static_cast<std::uint32_t>(::getpid());
}

bool do_threads_run_at_exit() {
    return true;
}

// The remote-desktop server xrdp sets the variable in its sessions.
bool is_remote_session() {
    return !environment_variable(L"XRDP_SESSION").value_or(std::wstring()).empty();
}

} // namespace ostrel_platform
