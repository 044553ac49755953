// Behaviour on POSIX only: pipes, signals, forks, variables that are not text, permissions.
#include "http_connector/http_connector.h"
#include "ostrel/datetime.h"
#include "ostrel/ostrel.h"
#include "platform/files.h"
#include "platform/folders.h"
#include "platform/os_name.h"
#include "platform/posix/os_release.h"
#include "platform/process.h"
#include "settor2/product_locations_c.h"
#include "statistic_impl/plan.h"
#include "support/collector.h"
#include "support/posix/user.h"
#include "support/profile.h"

#include <csignal>
#include <fcntl.h>
#include <resolv.h>
#include <set>
#include <sys/stat.h>
#include <sys/time.h>

using namespace test_support;
using namespace testing;
using namespace OSTREL_NAMESPACE;
using ostrel_platform::to_wide;

// Replaces vfork by fork, as sanitizers and emulators do. The parent then waits in an interruptible read.
extern "C" pid_t vfork() noexcept {
    return ::fork();
}

namespace {

struct posix : Test {
    /// Reports through a new object. @return whether it asks for consent, before and after the user agrees
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

struct posix_plan : posix {
    static plan_t plan() { return make_plan({L"product", {}}); }
    static void expect_failure(folder_outcome_t outcome) {
        EXPECT_THAT(plan().failure, Optional(Field(&folder_forecast_t::outcome, outcome)));
        EXPECT_THROW(use(), std::exception);
    }
};

const char* const long_text = "a folder whose name is longer than short strings";
bool checks_exit = false;

/// Registers an exit handler that runs after the library's. It exits with 0 if its checks pass.
[[gnu::constructor(101)]] void register_exit_check() {
    std::atexit([] {
        if (!checks_exit)
            return;
        const bool is_made = ostrel_create_statistic("product", "1") != nullptr;
        ::_exit(is_made && settor2::IProductLocations::get()->getFolder() == to_wide(long_text) ? 0 : 1);
    });
}

} // namespace

TEST(posix_exit, the_service_of_a_c_host_outlives_static_objects) {
    FLAGS_gtest_death_test_style = "threadsafe"; // executes this program again after the fork
    for (const char* const name : {"HOME", "XDG_DATA_HOME"})
        set_variable(name, std::nullopt);
    const auto leave = [] {
        const settor2_product_locations_t in_c = {{}, nullptr, long_text, nullptr, 0};
        settor2_install_product_locations(&in_c);
        checks_exit = true;
        std::exit(1);
    };
    EXPECT_EXIT(leave(), ExitedWithCode(0), "");
}

TEST_F(posix, data_is_kept_in_xdg_data_home_else_below_home_else_nowhere) {
    using text_t = std::optional<std::string>;
    using folder_t = std::optional<std::wstring>;
    const std::tuple<text_t, text_t, folder_t, folder_t> cases[] = {
        {"/d\xC3\xA4ta", "/home/jos\xE9", L"/d\u00e4ta", std::nullopt},
        {"", "/home/u", L"/home/u/.local/share", std::nullopt},
        {"relative\xE9", "/home/u", L"/home/u/.local/share", std::nullopt},
        {"", "relative", std::nullopt, std::nullopt},
        {std::nullopt, std::nullopt, std::nullopt, std::nullopt},
        {"/d\xE4ta", "/home/u", std::nullopt, L"XDG_DATA_HOME"},
        {"", profile.folder().string() + "/jos\xE9", std::nullopt, L"HOME"},
    };
    for (const auto& [data_home, home, folder, malformed] : cases) {
        SCOPED_TRACE(data_home.value_or("unset") + ", " + home.value_or("unset"));
        profile.set("XDG_DATA_HOME", data_home);
        profile.set("HOME", home);
        EXPECT_EQ(ostrel_platform::local_app_data_folder(), folder);
        EXPECT_EQ(ostrel_platform::malformed_folder_variable(), malformed);
    }
    EXPECT_EQ(use(), std::pair(1, 1)) << "without a folder nothing is kept";
    EXPECT_THAT(contents(profile.folder()), SizeIs(1));
    profile.set("NORVANE_STATISTICS_DISABLE", "\xFF");
    EXPECT_EQ(use(), std::pair(0, 0)) << "a value that is not valid text counts as set";
}

TEST_F(posix, pipes_in_place_of_files_do_not_block) {
    fs::create_directories(profile.statistic_dir());
    for (const char* const name : {"uuid.xml", "uuid.xml.tmp", "last_active_dates.xml", "../../../virk"})
        ASSERT_EQ(::mkfifo((profile.statistic_dir() / name).c_str(), 0600), 0);
    EXPECT_EQ(use(), std::pair(0, 0)) << "a pipe in place of the answer is a refusal";
    EXPECT_TRUE(fs::is_fifo(profile.virk()));
    EXPECT_FALSE(ostrel_platform::shared_file_t::open_for_reading(wide(profile.virk())).has_value());
}

TEST_F(posix, a_forked_child_makes_another_machine_id) {
    const pid_t child = ::fork(); // inherits whatever state a generator may have
    const std::string id = ostrel_platform::to_utf8(generate_uuid());
    if (child == 0) {
        write_file(profile.folder() / "id", id);
        ::_exit(0);
    }
    ::waitpid(child, nullptr, 0);
    EXPECT_THAT(read_file(profile.folder() / "id"), Optional(AllOf(SizeIs(36), Ne(id))));
}

TEST(os_release, the_pretty_name_is_read_as_a_shell_does) {
    const std::pair<const char*, std::optional<std::wstring>> cases[] = {
        {"NAME=other\nPRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\nID=debian\n",
         L"Debian GNU/Linux 12 (bookworm)"},
        {"PRETTY_NAME='single \\ \"' # a comment", L"single \\ \""},
        {"PRETTY_NAME=\"a \\\"b\\\" '\"", L"a \"b\" '"},
        {"PRETTY_NAME=bare", L"bare"},
        {"PRETTY_NAME=\"\"\nPRETTY_NAME=second", L"second"},
        {"X_PRETTY_NAME=other", std::nullopt},
    };
    for (const auto& [content, name] : cases)
        EXPECT_EQ(ostrel_platform::pretty_name(content), name) << content;
    EXPECT_EQ(ostrel_platform::os_product_name(),
              ostrel_platform::pretty_name(read_file("/etc/os-release").value_or("")));
}

TEST_F(posix, a_file_time_is_in_whole_seconds_since_1970) {
    const fs::path file = profile.folder() / "file";
    write_file(file, "");
    const std::pair<std::time_t, const wchar_t*> cases[] = {
        {1000000000, L"2001-09-09T01:46:40Z"}, {0, L"1970-01-01T00:00:00Z"}, {-1, L"1900-01-00T00:00:00Z"}};
    for (const auto& [seconds, text] : cases) {
        SCOPED_TRACE(seconds);
        const timespec times[2] = {{seconds, 999999999}, {seconds, 999999999}};
        ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
        EXPECT_EQ(datetime_t::file_time(wide(file)).as_string(), text);
    }
    EXPECT_FALSE(datetime_t::file_time(wide(profile.folder())).is_valid());
}

TEST_F(posix, only_the_sending_thread_blocks_all_signals) {
    const auto threads = [] {
        return std::set<fs::path>(fs::directory_iterator("/proc/self/task"), fs::directory_iterator());
    };
    // All signals that can be blocked and are not the C library's own.
    const auto blocks_all = [](const fs::path& thread) {
        return read_file(thread / "status")->find("SigBlk:\tfffffffe7ffbfeff") != std::string::npos;
    };
    const collector_t collector;
    // The thread pool of log4cplus may still be starting threads.
    const std::set<fs::path> before = threads();
    http_connector_t connector(collector.url().c_str());
    connector.send("hit");
    ASSERT_TRUE(collector.wait_for(1));
    EXPECT_THAT(threads(), Each(AnyOf(ResultOf(blocks_all, true), AnyOfArray(before))));
    EXPECT_GT(threads().size(), before.size());
    EXPECT_FALSE(blocks_all("/proc/thread-self"));
}

TEST_F(posix, detached_start_survives_interrupted_reads) {
    struct sigaction action {};
    action.sa_handler = [](int) {}; // without SA_RESTART
    ::sigaction(SIGALRM, &action, nullptr);
    const itimerval often{{0, 100}, {0, 100}}, never{};
    int started = 0;
    for (int run = 0; run < 20; ++run) {
        ::setitimer(ITIMER_REAL, &often, nullptr);
        started += ostrel_platform::start_detached({{L"/bin/true"}, {}, {}}) ? 1 : 0;
        ::setitimer(ITIMER_REAL, &never, nullptr);
    }
    std::signal(SIGALRM, SIG_DFL);
    EXPECT_EQ(started, 20);
}

TEST_F(posix_plan, resolving_gives_addresses_or_unknown_host_or_failure) {
    using ostrel_platform::resolution_t;
    ASSERT_EQ(::res_init(), 0);
    const auto former = _res;
    _res.nscount = 1;
    _res.nsaddr_list[0] = {AF_INET, htons(1), {htonl(INADDR_LOOPBACK)}, {}}; // no name server listens there
    const auto resolved = [](const char* name) { return ostrel_platform::resolve_host(name); };
    EXPECT_THAT(resolved("10.1.2.3"),
                FieldsAre(resolution_t::resolved, ElementsAre(ElementsAre(10, 1, 2, 3))));
    EXPECT_THAT(resolved("::1"), FieldsAre(resolution_t::resolved, IsEmpty()));
    EXPECT_THAT(resolved("no..host"), FieldsAre(resolution_t::unknown_host, IsEmpty()));
    EXPECT_THAT(resolved("host.example"), FieldsAre(resolution_t::failed, IsEmpty()));
    ::res_nclose(&_res);
    _res = former;
}

TEST_F(posix_plan, the_plan_reports_folders_that_cannot_be_created) {
    as_ordinary_user(profile.local_app_data(), [&] {
        fs::create_symlink("nowhere", profile.company());
        expect_failure(folder_outcome_t::blocked);
        profile.set("XDG_DATA_HOME", "/nonexistent");
        expect_failure(folder_outcome_t::forbidden);
        EXPECT_EQ(plan().failure->obstacle.as_string(), L"/");
    });
    fs::remove_all(profile.local_app_data());
    EXPECT_FALSE(plan().failure.has_value());
    write_file(profile.local_app_data(), "");
    expect_failure(folder_outcome_t::blocked);
}

TEST_F(posix_plan, the_plan_reports_read_only_files) {
    as_ordinary_user(profile.local_app_data(), [&] {
        const fs::path uuid = profile.statistic_dir() / "uuid.xml";
        write_file(uuid, "<bag>");
        write_file(profile.virk(), "1");
        EXPECT_TRUE(plan().keeps_machine_id);
        ::chmod(uuid.c_str(), 0444);
        ::chmod(profile.virk().c_str(), 0444);
        EXPECT_FALSE(plan().keeps_machine_id);
        EXPECT_TRUE(plan().find(place_role_t::machine_id)->is_read_only);
        EXPECT_TRUE(plan().find(place_role_t::consent)->is_read_only);
        EXPECT_FALSE(plan().find(place_role_t::days_of_use)->is_read_only);
        ::chmod(profile.statistic_dir().c_str(), 0555);
        EXPECT_TRUE(plan().find(place_role_t::days_of_use)->is_read_only);
    });
}

TEST_F(posix_plan, a_device_as_answer_is_a_refusal_and_a_dangling_lock_is_held) {
    fs::create_directories(profile.statistic_dir());
    fs::create_symlink("/dev/null", profile.virk());
    fs::create_symlink("nowhere", profile.statistic_dir() / "last_active_dates.lock");
    const plan_t found = plan();
    EXPECT_EQ(found.answer, vsDisabled);
    EXPECT_THAT(*found.find(place_role_t::consent), FieldsAre(_, _, place_state_t::device, true));
    EXPECT_EQ(found.days.state, days_state_t::locked);
    EXPECT_EQ(found.places.back().state, place_state_t::dangling_link);
}
