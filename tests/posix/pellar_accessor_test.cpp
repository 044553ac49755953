// What the bridge leaves behind in the host and hands to its children, on POSIX.
#include "support/pellar.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <iterator>
#include <sys/time.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace test_support;

namespace {

namespace fs = std::filesystem;

constexpr int pellar = OSTREL_NAMESPACE::pellar_accessor_impl_t::tool_pellar;
constexpr int remote_monitor = OSTREL_NAMESPACE::pellar_accessor_impl_t::tool_remote_monitor;

class pellar_processes : public pellar_test_t {};

/// Changes a signal's disposition while it lives.
class disposition_t {
public:
    disposition_t(int signal, void (*handler)(int)) : m_signal(signal) {
        struct sigaction action {};
        action.sa_handler = handler; // without SA_RESTART: waits are interrupted
        ::sigaction(signal, &action, &m_former);
    }
    ~disposition_t() { ::sigaction(m_signal, &m_former, nullptr); }

private:
    int m_signal;
    struct sigaction m_former {};
};

std::ptrdiff_t entries(const char* folder) {
    return std::distance(fs::directory_iterator(folder), {});
}

bool has_children() {
    return ::waitpid(-1, nullptr, WNOHANG) != -1 || errno != ECHILD;
}

std::atomic<int> alarms{0};

} // namespace

TEST_F(pellar_processes, children_inherit_standard_streams_and_nothing_else) {
    install(standard_folder() / "Norvane" / "Pellar", OSTREL_CHILD_PROBE);
    const fs::path result = profile.folder() / "record";
    const disposition_t ignored(SIGPIPE, SIG_IGN);
    sigset_t mask;
    ::sigemptyset(&mask);
    ::sigaddset(&mask, SIGUSR1);
    ::pthread_sigmask(SIG_BLOCK, &mask, nullptr);
    const int inheritable = ::open(tools().c_str(), O_RDONLY);
    const int standard_input = ::dup(0);
    ::dup2(inheritable, 0);
    EXPECT_EQ(invoke(pellar, {wide(result)}, true), 0);
    EXPECT_EQ(invoke(pellar, {wide(result)}, false), 0);
    ::dup2(standard_input, 0);
    ::close(standard_input);
    ::close(inheritable);
    ::pthread_sigmask(SIG_UNBLOCK, &mask, nullptr);
    ASSERT_TRUE(wait_for_runs(2));
    EXPECT_EQ(runs(), (std::vector<std::string>{"host's session, host's streams, descriptors: 0, signals: 0",
                                                "own session, null streams, descriptors: 0, signals: 0"}));
}

TEST_F(pellar_processes, arguments_reach_the_tool_whatever_they_hold) {
    EXPECT_EQ(invoke(pellar, {L"", L"a\"b", L"c\\", L"$HOME 'x' *", L"\"q\""}, true), 0);
    EXPECT_EQ(runs(), std::vector<std::string>{"[][a\"b][c\\][$HOME 'x' *][\"q\"]"});
}

TEST_F(pellar_processes, paths_may_be_long) {
    fs::path file = profile.folder();
    while (file.native().size() < 3800)
        file /= std::string(190, 'x');
    file /= std::string(4000 - file.native().size() - 1, 'y');
    write_file(file, "x");
    EXPECT_FALSE(bridge.send_file(wide(file), false));
    profile.set("STAND_IN_ACTION", "delete");
    EXPECT_TRUE(bridge.send_file(wide(file), false));
}

TEST_F(pellar_processes, start_errors_and_signals_become_numbers) {
    profile.set("STAND_IN_ACTION", "die");
    EXPECT_EQ(invoke(remote_monitor, {}, true), 128 + SIGABRT);
    EXPECT_EQ(log.count("pellar return code=134"), 1);
    fs::permissions(tools() / "norvaneremotemon.exe", fs::perms::owner_read);
    EXPECT_EQ(invoke(remote_monitor, {}, true), EACCES);
    EXPECT_EQ(invoke(remote_monitor, {}, false), -1);
    EXPECT_EQ(invoke(pellar, {std::wstring(1U << 20U, L'x')}, true), E2BIG);
    EXPECT_FALSE(has_children());
}

TEST_F(pellar_processes, a_remote_session_starts_nothing_and_says_nothing) {
    profile.set("XRDP_SESSION", "1");
    EXPECT_EQ(invoke(pellar, {}, true), -1);
    EXPECT_EQ(invoke(pellar, {}, false), -1);
    EXPECT_EQ(log.texts(), (std::vector<std::string>{"tool=1", "sync=1", "tool=1", "sync=0"}));
    EXPECT_FALSE(bridge.send_file(wide(profile.folder() / "missing"), false));
    EXPECT_FALSE(bridge.send_usage_package());
    EXPECT_FALSE(bridge.is_feedback_enabled());
    EXPECT_EQ(bridge.get_uuid(), L"");
    EXPECT_EQ(log.texts().back(), "return: uuid = ");
    EXPECT_TRUE(runs().empty());
    profile.set("XRDP_SESSION", "");
    EXPECT_EQ(invoke(pellar, {}, true), 0);
}

TEST_F(pellar_processes, a_wait_survives_the_hosts_signals) {
    profile.set("STAND_IN_ACTION", "wait");
    profile.set("STAND_IN_UNTIL", (profile.folder() / "go").string());
    profile.set("STAND_IN_EXIT", "5");
    alarms = 0;
    const fs::path go = profile.folder() / "go";
    const disposition_t handled(SIGUSR2, [](int) { ++alarms; });
    const pthread_t waiting = ::pthread_self();
    std::thread disturber([&] {
        wait_for_runs(1);
        while (alarms < 20) {
            ::pthread_kill(waiting, SIGUSR2);
            std::this_thread::yield();
        }
        write_file(go, "");
    });
    EXPECT_EQ(invoke(pellar, {}, true), 5);
    disturber.join();
}

TEST_F(pellar_processes, a_host_that_ignores_its_children_loses_exit_codes_only) {
    const disposition_t ignored(SIGCHLD, SIG_IGN);
    profile.set("STAND_IN_EXIT", "0");
    EXPECT_EQ(invoke(pellar, {}, true), ECHILD);
    EXPECT_EQ(log.count("pellar return code=0"), 0);
    EXPECT_FALSE(bridge.is_feedback_enabled());
    EXPECT_EQ(invoke(pellar, {}, false), 0);
    ASSERT_TRUE(wait_for_runs(3));
    answer("abc");
    EXPECT_EQ(bridge.get_uuid(), L"abc");
}

TEST_F(pellar_processes, many_runs_leave_the_host_as_it_was) {
    const auto descriptors = entries("/proc/self/fd");
    const auto threads = entries("/proc/self/task");
    int failures = 0;
    for (int i = 0; i < 1000; ++i)
        failures += invoke(pellar, {}, true) == 0 ? 0 : 1;
    for (int i = 0; i < 200; ++i)
        failures += invoke(pellar, {}, false) == 0 ? 0 : 1;
    EXPECT_EQ(failures, 0);
    EXPECT_TRUE(wait_for_runs(1200));
    EXPECT_EQ(runs().size(), 1200U);
    EXPECT_FALSE(has_children());
    EXPECT_EQ(entries("/proc/self/fd"), descriptors);
    EXPECT_EQ(entries("/proc/self/task"), threads);
}
