// Where the environment says that the user's data lies, and switches that are no text.
#include "ostrel/ostrel.h"
#include "platform/folders.h"
#include "statistic_impl/statistic_impl.h"
#include "support/collector.h"
#include "support/profile.h"

#include <gtest/gtest.h>

using namespace test_support;
namespace fs = std::filesystem;

TEST(posix_environment, data_lies_in_the_data_home_or_below_the_home) {
    const struct {
        const char* data_home;
        const char* home;
        std::optional<std::wstring> folder;
    } cases[] = {
        {"/d\xC3\xA4ta", "/home/u", L"/d\u00e4ta"},
        {"", "/home/u", L"/home/u/.local/share"},
        {"relative", "/home/u", L"/home/u/.local/share"},
        {"", "", std::nullopt},
        {"", "relative", std::nullopt},
    };
    profile_t profile;
    for (const auto& [data_home, home, folder] : cases) {
        profile.set("XDG_DATA_HOME", data_home);
        profile.set("HOME", home);
        EXPECT_EQ(ostrel_platform::local_app_data_folder(), folder) << data_home << ", " << home;
    }
    profile.unset("XDG_DATA_HOME");
    profile.unset("HOME");
    EXPECT_EQ(ostrel_platform::local_app_data_folder(), std::nullopt);
}

TEST(posix_environment, without_a_data_folder_the_object_is_silent_and_writes_nowhere) {
    profile_t profile;
    const collector_t collector;
    profile.set("OSTREL_COLLECTION_URL", collector.url());
    profile.set("NORVANE_FORCE_FEEDBACK", "1");
    profile.set("NORVANE_FORCE_UUID", "id");
    profile.unset("XDG_DATA_HOME");
    profile.unset("HOME");
    const temporary_folder_t work;
    const fs::path former = fs::current_path();
    fs::current_path(work.path());
    statistic_handle_t* const handle = ostrel_create_statistic("product", "1");
    ostrel_set_statistic_collection_enabled(handle, 1);
    ostrel_notify_feature_usage(handle, "run.a");
    profile.unset("NORVANE_FORCE_FEEDBACK");
    EXPECT_EQ(ostrel_should_ask_user_consent(handle), 1);
    ostrel_destroy_statistic(handle);
    fs::current_path(former);
    EXPECT_TRUE(fs::is_empty(work.path()));
    EXPECT_EQ(collector.bodies().size(), 0U);
}

TEST(posix_environment, a_switch_whose_value_is_no_text_counts_as_set) {
    profile_t profile;
    profile.set("NORVANE_STATISTICS_DISABLE", "\xFF");
    EXPECT_EQ(OSTREL_NAMESPACE::statistic_impl_t::get_env_vars_state(), 3);
}
