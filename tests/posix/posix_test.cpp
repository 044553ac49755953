// What only POSIX has: file modes, pipes, links, signals, and variables that are no text.
#include "http_connector/http_connector.h"
#include "ostrel/datetime.h"
#include "ostrel/ostrel.h"
#include "platform/files.h"
#include "platform/folders.h"
#include "platform/process.h"
#include "statistic_impl/plan.h"
#include "support/collector.h"
#include "support/profile.h"

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <resolv.h>
#include <set>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

using namespace test_support;

// Sanitizers and emulators replace vfork in this way. The parent then reads the report pipe before the child
// has written into it, so that a signal interrupts the read.
extern "C" pid_t vfork() noexcept {
    return ::fork();
}

namespace {

class posix : public testing::Test {
protected:
    /// One object that asks, is allowed and is told of a feature. @return what it says of consent, twice
    static std::pair<int, int> use() {
        statistic_handle_t* const handle = ostrel_create_statistic("product", "1");
        const int before = ostrel_should_ask_user_consent(handle);
        ostrel_set_statistic_collection_enabled(handle, 1);
        ostrel_notify_feature_usage(handle, "run.a");
        const int after = ostrel_should_ask_user_consent(handle);
        ostrel_destroy_statistic(handle);
        return {before, after};
    }

    profile_t profile;
};

} // namespace

TEST_F(posix, data_lies_in_the_data_home_or_below_the_home_or_nowhere) {
    using text_t = std::optional<std::string>;
    const std::tuple<text_t, text_t, std::optional<std::wstring>> cases[] = {
        {"/d\xC3\xA4ta", "/home/u", L"/d\u00e4ta"},       {"", "/home/u", L"/home/u/.local/share"},
        {"relative", "/home/u", L"/home/u/.local/share"}, {"", "relative", std::nullopt},
        {std::nullopt, std::nullopt, std::nullopt},
    };
    for (const auto& [data_home, home, folder] : cases) {
        profile.set("XDG_DATA_HOME", data_home);
        profile.set("HOME", home);
        EXPECT_EQ(ostrel_platform::local_app_data_folder(), folder) << data_home.value_or("unset");
    }
    EXPECT_EQ(use(), std::pair(1, 1)) << "without a folder nothing is kept";
    profile.set("NORVANE_STATISTICS_DISABLE", "\xFF");
    EXPECT_EQ(use(), std::pair(0, 0)) << "a switch whose value is no text counts as set";
}

TEST_F(posix, a_switch_whose_value_is_no_text_counts_as_set) {
    profile.set("NORVANE_STATISTICS_DISABLE", "\xFF");
    EXPECT_EQ(OSTREL_NAMESPACE::statistic_impl_t::get_env_vars_state(), 3);
}

TEST_F(posix, the_resolver_tells_addresses_from_no_host_and_from_no_answer) {
    using ostrel_platform::resolution_t;
    ASSERT_EQ(::res_init(), 0);
    const auto former = _res;
    _res.nscount = 1;
    _res.nsaddr_list[0] = {AF_INET, htons(1), {htonl(INADDR_LOOPBACK)}, {}}; // no name server listens there
    const std::tuple<const char*, resolution_t, std::size_t> cases[] = {
        {"10.1.2.3", resolution_t::resolved, 1},
        {"::1", resolution_t::resolved, 0},
        {"no..host", resolution_t::unknown_host, 0},
        {"host.example", resolution_t::failed, 0},
    };
    for (const auto& [name, outcome, addresses] : cases) {
        SCOPED_TRACE(name);
        const auto answer = ostrel_platform::resolve_host(name);
        EXPECT_EQ(answer.outcome, outcome);
        ASSERT_EQ(answer.ipv4.size(), addresses);
        if (addresses != 0) {
            EXPECT_EQ(answer.ipv4[0], (std::array<std::uint8_t, 4>{10, 1, 2, 3}));
        }
    }
    _res = former;
}

TEST_F(posix, a_folder_that_the_user_may_not_create_is_foreseen) {
    const uid_t user = ::geteuid();
    ASSERT_EQ(::seteuid(user == 0 ? 65534 : user), 0); // root may create everything
    profile.set("XDG_DATA_HOME", "/nonexistent");
    const auto plan = OSTREL_NAMESPACE::make_plan({L"product", {}});
    EXPECT_THROW(use(), std::exception);
    ASSERT_EQ(::seteuid(user), 0);
    ASSERT_TRUE(plan.failure.has_value());
    EXPECT_EQ(plan.failure->outcome, OSTREL_NAMESPACE::folder_forecast_t::forbidden);
    EXPECT_EQ(plan.failure->obstacle.as_string(), L"/");
}

TEST_F(posix, a_dangling_link_in_the_place_of_the_lock_counts_as_a_lock) {
    fs::create_directories(profile.statistic_dir());
    fs::create_symlink("nowhere", profile.statistic_dir() / "last_active_dates.lock");
    const auto plan = OSTREL_NAMESPACE::make_plan({L"product", {}});
    EXPECT_EQ(plan.days.state, OSTREL_NAMESPACE::days_plan_t::locked);
    EXPECT_EQ(plan.places.back().state, OSTREL_NAMESPACE::place_t::dangling_link);
}

TEST_F(posix, what_the_library_creates_is_the_users_alone) {
    const mode_t former = ::umask(0);
    EXPECT_EQ(use(), std::pair(1, 0));
    const fs::path lock = profile.folder() / "lock";
    EXPECT_TRUE(ostrel_platform::create_exclusively(wide(lock)));
    ::umask(former);
    for (const fs::path& file : {profile.virk(), profile.statistic_dir() / "uuid.xml",
                                 profile.statistic_dir() / "last_active_dates.xml", lock})
        EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write) << file;
}

TEST_F(posix, pipes_and_links_in_place_of_files_are_refused_and_block_nobody) {
    fs::create_directories(profile.statistic_dir());
    for (const char* const name : {"uuid.xml", "uuid.xml.tmp", "last_active_dates.xml", "../../../virk"})
        ASSERT_EQ(::mkfifo((profile.statistic_dir() / name).c_str(), 0600), 0);
    EXPECT_EQ(use(), std::pair(1, 1));
    EXPECT_TRUE(fs::is_fifo(profile.virk()));
    fs::create_symlink(profile.folder() / "victim", profile.folder() / "bag.xml.tmp");
    EXPECT_FALSE(ostrel_platform::replace_file(wide(profile.folder() / "bag.xml"), "new"));
    EXPECT_FALSE(fs::exists(profile.folder() / "victim"));
}

TEST_F(posix, a_files_time_is_read_to_the_second_and_within_its_range) {
    const fs::path file = profile.folder() / "file";
    write_file(file, "");
    const std::pair<std::time_t, const wchar_t*> cases[] = {{1000000000, L"2001-09-09T01:46:40Z"},
                                                            {0, L"1970-01-01T00:00:00Z"},
                                                            {-1, L"1900-01-00T00:00:00Z"},
                                                            {-2, L"1900-01-00T00:00:00Z"}};
    for (const auto& [seconds, text] : cases) {
        const timespec times[2] = {{seconds, 999999999}, {seconds, 999999999}};
        ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
        EXPECT_EQ(OSTREL_NAMESPACE::datetime_t::file_time(wide(file)).as_string(), text);
    }
}

TEST_F(posix, the_sending_thread_blocks_all_signals_and_the_calling_one_keeps_its_mask) {
    const auto threads = [] {
        return std::set<fs::path>(fs::directory_iterator("/proc/self/task"), fs::directory_iterator());
    };
    const auto blocks_all = [](const fs::path& thread) { // but what nobody can block, and the C library's own
        return read_file(thread / "status")->find("SigBlk:\tfffffffe7ffbfeff") != std::string::npos;
    };
    const collector_t collector;
    const std::set<fs::path> before = threads();
    OSTREL_NAMESPACE::http_connector_t connector(collector.url().c_str());
    connector.send("hit");
    ASSERT_TRUE(collector.wait_for(1));
    for (const fs::path& thread : threads())
        EXPECT_TRUE(blocks_all(thread) || before.count(thread) != 0);
    EXPECT_GT(threads().size(), before.size());
    EXPECT_FALSE(blocks_all("/proc/thread-self"));
}

TEST_F(posix, detached_start_survives_interrupted_reads) {
    struct sigaction action {};
    action.sa_handler = [](int) {}; // without SA_RESTART
    ::sigaction(SIGALRM, &action, nullptr);
    const itimerval often{{0, 100}, {0, 100}};
    const itimerval never{};
    int started = 0;
    for (int run = 0; run < 20; ++run) {
        ::setitimer(ITIMER_REAL, &often, nullptr);
        started += ostrel_platform::start_detached({{L"/bin/true"}, {}, {}}) ? 1 : 0;
        ::setitimer(ITIMER_REAL, &never, nullptr);
    }
    std::signal(SIGALRM, SIG_DFL);
    EXPECT_EQ(started, 20);
}
