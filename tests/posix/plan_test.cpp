// The plan where only POSIX has the situation: permissions, links, devices, and a resolver without a name
// server.
#include "statistic_impl/plan.h"

#include "statistic_impl_ga/statistic_impl_ga.h"
#include "support/posix/user.h"
#include "support/profile.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <resolv.h>
#include <sys/stat.h>

using namespace test_support;
using namespace OSTREL_NAMESPACE;

TEST(plan_on_posix, the_resolver_tells_addresses_from_no_host_and_from_no_answer) {
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

TEST(plan_on_posix, folders_that_the_user_may_not_create_are_foreseen) {
    const profile_t profile;
    const fs::path& data = profile.local_app_data();
    as_ordinary_user(data, [&] {
        profile.set("XDG_DATA_HOME", "/nonexistent");
        const plan_t plan = make_plan({L"product", {}});
        ASSERT_TRUE(plan.failure.has_value());
        EXPECT_EQ(plan.failure->outcome, folder_forecast_t::forbidden);
        EXPECT_EQ(plan.failure->obstacle.as_string(), L"/");
        EXPECT_THROW(statistic_impl_ga_t(L"product", L"1"), std::exception);
        profile.set("XDG_DATA_HOME", data.string());
        fs::create_symlink("nowhere", profile.company());
        EXPECT_EQ(make_plan({L"product", {}}).failure->outcome, folder_forecast_t::blocked);
        EXPECT_THROW(statistic_impl_ga_t(L"product", L"1"), std::exception);
    });
}

TEST(plan_on_posix, a_file_in_the_place_of_the_data_folder_is_foreseen) {
    const profile_t profile;
    EXPECT_TRUE(fs::remove(profile.local_app_data()));
    EXPECT_FALSE(make_plan({L"product", {}}).failure.has_value());
    write_file(profile.local_app_data(), "");
    EXPECT_EQ(make_plan({L"product", {}}).failure->outcome, folder_forecast_t::blocked);
    EXPECT_THROW(statistic_impl_ga_t(L"product", L"1"), std::exception);
}

TEST(plan_on_posix, a_dangling_link_in_the_place_of_the_lock_counts_as_a_lock) {
    const profile_t profile;
    fs::create_directories(profile.statistic_dir());
    fs::create_symlink("nowhere", profile.statistic_dir() / "last_active_dates.lock");
    const plan_t plan = make_plan({L"product", {}});
    EXPECT_EQ(plan.days.state, days_plan_t::locked);
    EXPECT_EQ(plan.places.back().state, place_t::dangling_link);
}

TEST(plan_on_posix, files_that_the_user_may_not_write_are_foreseen) {
    const profile_t profile;
    as_ordinary_user(profile.local_app_data(), [&] {
        const fs::path uuid = profile.statistic_dir() / "uuid.xml";
        write_file(uuid, "<bag>");
        write_file(profile.virk(), "1");
        EXPECT_TRUE(make_plan({L"product", {}}).keeps_machine_id);
        ::chmod(uuid.c_str(), 0444);
        ::chmod(profile.virk().c_str(), 0444);
        const plan_t plan = make_plan({L"product", {}});
        EXPECT_FALSE(plan.keeps_machine_id);
        EXPECT_TRUE(plan.places[place_t::machine_id].is_read_only);
        EXPECT_TRUE(plan.places[place_t::consent].is_read_only);
        EXPECT_FALSE(plan.places[place_t::days_of_use].is_read_only);
    });
}

TEST(plan_on_posix, a_device_in_the_place_of_the_answer_is_a_refusal) {
    const profile_t profile;
    fs::create_directories(profile.company());
    fs::create_symlink("/dev/null", profile.virk());
    const plan_t plan = make_plan({L"product", {}});
    EXPECT_EQ(plan.answer, vsDisabled);
    EXPECT_EQ(plan.places[place_t::consent].state, place_t::device);
    EXPECT_TRUE(plan.places[place_t::consent].is_read_only);
}
