// What children of the bridge inherit, and what they leave in the host, on POSIX.
#include "support/pellar.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/time.h>

using namespace test_support;

namespace {

struct pellar_processes : pellar_test_t {};

std::ptrdiff_t entries(const char* folder) {
    return std::distance(fs::directory_iterator(folder), {});
}

std::atomic<int> alarms{0};
fs::path go;

} // namespace

TEST_F(pellar_processes, children_inherit_the_standard_streams_only) {
    profile.set("STAND_IN_ACTION", "probe");
    const int inheritable = ::open("/", O_RDONLY);
    std::signal(SIGPIPE, SIG_IGN);
    sigset_t mask;
    ::sigemptyset(&mask);
    ::sigaddset(&mask, SIGUSR1);
    ::pthread_sigmask(SIG_BLOCK, &mask, nullptr);
    EXPECT_EQ(invoke(pellar, {}, true), 0);
    EXPECT_EQ(invoke(pellar, {}, false), 0);
    ::pthread_sigmask(SIG_UNBLOCK, &mask, nullptr);
    std::signal(SIGPIPE, SIG_DFL);
    ::close(inheritable);
    std::string streams;
    for (const char* const stream : {"0", "1", "2"})
        streams += " " + fs::read_symlink(fs::path("/proc/self/fd") / stream).string();
    const std::string none = " 0000000 0000000"; // no blocked and no ignored signals
    EXPECT_EQ(wait_for_runs(2), (texts_t{"host's session" + streams + none,
                                         "own session /dev/null /dev/null /dev/null" + none}));
}

TEST_F(pellar_processes, arguments_and_long_paths_reach_the_tool_unchanged) {
    EXPECT_EQ(invoke(pellar, {L"", L"a\"b", L"c\\", L"$HOME 'x' *", L"\"q\""}, true), 0);
    EXPECT_EQ(runs(), texts_t{"[][a\"b][c\\][$HOME 'x' *][\"q\"]"});
    EXPECT_NE(log.texts().at(3).find("\" \"\" \"a\"b\" \"c\\\" \"$HOME 'x' *\" \"\"q\"\"'"),
              std::string::npos);
    fs::path file = profile.folder();
    while (file.native().size() < 3800)
        file /= std::string(190, 'x');
    file /= std::string(4000 - file.native().size() - 1, 'y');
    write_file(file, "x");
    EXPECT_FALSE(bridge.send_file(wide(file), false));
    profile.set("STAND_IN_ACTION", "delete");
    EXPECT_TRUE(bridge.send_file(wide(file), false));
}

TEST_F(pellar_processes, failed_starts_and_aborted_tools_leak_nothing) {
    EXPECT_EQ(invoke(pellar, {}, false), 0);
    const auto descriptors = entries("/proc/self/fd"), threads = entries("/proc/self/task");
    profile.set("STAND_IN_ACTION", "die");
    EXPECT_EQ(invoke(pellar, {}, true), 128 + SIGABRT);
    EXPECT_EQ(logged().back(), "pellar return code=134");
    EXPECT_EQ(invoke(pellar, {std::wstring(1U << 20U, L'x')}, true), E2BIG);
    fs::permissions(tools() / "pellar.exe", fs::perms::owner_read);
    EXPECT_EQ(invoke(pellar, {}, true), EACCES);
    EXPECT_EQ(invoke(pellar, {}, false), -1);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
    EXPECT_EQ(entries("/proc/self/fd"), descriptors);
    EXPECT_EQ(entries("/proc/self/task"), threads);
}

TEST_F(pellar_processes, links_and_other_users_files_are_not_used_for_exchange) {
    const auto exchange_file = [this](int attempt) {
        return temp() / ("uuid-" + std::to_string(::getpid()) + "-" + std::to_string(attempt) + ".txt");
    };
    const fs::path linked = profile.folder() / "linked", hard_linked = profile.folder() / "hard linked";
    for (const fs::path& file : {linked, hard_linked, exchange_file(3), exchange_file(4)})
        write_file(file, "former");
    fs::create_symlink(linked, exchange_file(1));
    fs::create_hard_link(hard_linked, exchange_file(2));
    const bool is_third_foreign = ::chown(exchange_file(3).c_str(), 65534, 65534) == 0; // as root
    const fs::path used = exchange_file(is_third_foreign ? 4 : 3);
    EXPECT_EQ(bridge.get_uuid(), L"") << "a file that an earlier process left is emptied";
    EXPECT_EQ(runs(), texts_t{"[-u][" + used.string() + "]"});
    EXPECT_FALSE(fs::exists(used));
    for (const fs::path& file : {linked, hard_linked, is_third_foreign ? exchange_file(3) : linked})
        EXPECT_EQ(read_file(file), "former") << file;
}

TEST_F(pellar_processes, in_a_remote_session_no_tool_is_started_and_no_error_logged) {
    profile.set("XRDP_SESSION", "1");
    EXPECT_EQ(invoke(pellar, {}, true), -1);
    EXPECT_EQ(logged(), (texts_t{"tool=1", "sync=1"}));
    EXPECT_TRUE(runs().empty());
    profile.set("XRDP_SESSION", "");
    EXPECT_EQ(invoke(pellar, {}, true), 0);
}

TEST_F(pellar_processes, a_wait_survives_the_hosts_signals) {
    profile.set("STAND_IN_ACTION", "wait");
    profile.set("STAND_IN_UNTIL", (go = profile.folder() / "go").string());
    profile.set("STAND_IN_EXIT", "5");
    struct sigaction action {};
    action.sa_handler = [](int) { // without SA_RESTART: waits are interrupted
        if (++alarms == 200)
            ::close(::creat(go.c_str(), 0600));
    };
    ::sigaction(SIGALRM, &action, nullptr);
    const itimerval often{{0, 1000}, {0, 1000}}, never{};
    ::setitimer(ITIMER_REAL, &often, nullptr);
    EXPECT_EQ(invoke(pellar, {}, true), 5);
    ::setitimer(ITIMER_REAL, &never, nullptr);
    std::signal(SIGALRM, SIG_DFL);
}

TEST_F(pellar_processes, a_host_that_ignores_sigchld_loses_exit_codes_only) {
    std::signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(invoke(pellar, {}, true), ECHILD);
    EXPECT_EQ(logged().back(), "E CreateProcessW failed: " + std::to_string(ECHILD) + "@");
    EXPECT_FALSE(bridge.is_feedback_enabled());
    EXPECT_EQ(invoke(pellar, {}, false), 0);
    EXPECT_EQ(wait_for_runs(3).size(), 3U);
    answer("abc");
    EXPECT_EQ(bridge.get_uuid(), L"abc");
    std::signal(SIGCHLD, SIG_DFL);
}
