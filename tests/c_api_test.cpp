// The C entry points, from the call to the bytes that a collector receives.
#include "ostrel/ostrel.h"

#include "support/collector.h"
#include "support/profile.h"

#include <gtest/gtest.h>

using namespace test_support;

TEST(c_api, null_handles_are_ignored) {
    EXPECT_EQ(ostrel_should_ask_user_consent(nullptr), 0);
    ostrel_notify_feature_usage(nullptr, nullptr);
    ostrel_set_statistic_collection_enabled(nullptr, 1);
    ostrel_destroy_statistic(nullptr);
}

TEST(c_api, consent_is_asked_for_once_and_starts_collection) {
    profile_t profile;
    const collector_t collector;
    profile.set("OSTREL_COLLECTION_URL", collector.url());
    profile.set("NORVANE_FORCE_UUID", "id");
    statistic_handle_t* const handle = ostrel_create_statistic("product", "1 & 2");
    EXPECT_EQ(ostrel_should_ask_user_consent(handle), 1);
    ostrel_notify_feature_usage(handle, "run.before");
    ostrel_set_statistic_collection_enabled(handle, 1);
    EXPECT_EQ(ostrel_should_ask_user_consent(handle), 0);
    EXPECT_EQ(read_file(profile.virk()), "1");
    ostrel_notify_feature_usage(handle, "run.caf\xC3\xA9");
    ostrel_destroy_statistic(handle);
    ASSERT_EQ(collector.bodies().size(), 1U);
    EXPECT_NE(collector.bodies()[0].find("&av=1 & 2&cd1=win32&"), std::string::npos);
    EXPECT_NE(collector.bodies()[0].find("&t=event&ec=run&el=caf%C3%A9&cd3=n"), std::string::npos);
}
