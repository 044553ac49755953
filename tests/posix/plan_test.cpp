// The plan on POSIX: permissions, links, devices, and the resolver without a name server.
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

namespace {

struct plan_on_posix : testing::Test {
    static plan_t plan() { return make_plan({L"product", {}}); }

    const profile_t profile;
};

} // namespace

TEST_F(plan_on_posix, the_resolver_tells_addresses_from_no_host_and_no_answer) {
    using ostrel_platform::resolution_t;
    ASSERT_EQ(::res_init(), 0);
    const auto former = _res;
    _res.nscount = 1;
    _res.nsaddr_list[0] = {AF_INET, htons(1), {htonl(INADDR_LOOPBACK)}, {}}; // no name server listens there
    const std::tuple<const char*, resolution_t, std::vector<std::array<std::uint8_t, 4>>> cases[] = {
        {"10.1.2.3", resolution_t::resolved, {{10, 1, 2, 3}}},
        {"::1", resolution_t::resolved, {}},
        {"no..host", resolution_t::unknown_host, {}},
        {"host.example", resolution_t::failed, {}},
    };
    for (const auto& [name, outcome, addresses] : cases) {
        SCOPED_TRACE(name);
        const auto answer = ostrel_platform::resolve_host(name);
        EXPECT_EQ(answer.outcome, outcome);
        EXPECT_EQ(answer.ipv4, addresses);
    }
    ::res_nclose(&_res);
    _res = former;
}

TEST_F(plan_on_posix, folders_that_the_user_may_not_create_are_foreseen) {
    as_ordinary_user(profile.local_app_data(), [&] {
        fs::create_symlink("nowhere", profile.company());
        EXPECT_EQ(plan().failure->outcome, folder_outcome_t::blocked);
        EXPECT_THROW(statistic_impl_ga_t(L"product", L"1"), std::exception);
        profile.set("XDG_DATA_HOME", "/nonexistent");
        const auto failure = plan().failure;
        ASSERT_TRUE(failure.has_value());
        EXPECT_EQ(failure->outcome, folder_outcome_t::forbidden);
        EXPECT_EQ(failure->obstacle.as_string(), L"/");
        EXPECT_THROW(statistic_impl_ga_t(L"product", L"1"), std::exception);
    });
}

TEST_F(plan_on_posix, a_file_in_the_place_of_the_data_folder_is_foreseen) {
    EXPECT_TRUE(fs::remove(profile.local_app_data()));
    EXPECT_FALSE(plan().failure.has_value());
    write_file(profile.local_app_data(), "");
    EXPECT_EQ(plan().failure->outcome, folder_outcome_t::blocked);
    EXPECT_THROW(statistic_impl_ga_t(L"product", L"1"), std::exception);
}

TEST_F(plan_on_posix, files_that_the_user_may_not_write_are_foreseen) {
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
    });
}

TEST_F(plan_on_posix, a_device_is_a_refusal_and_a_dangling_link_is_a_lock) {
    fs::create_directories(profile.statistic_dir());
    fs::create_symlink("/dev/null", profile.virk());
    fs::create_symlink("nowhere", profile.statistic_dir() / "last_active_dates.lock");
    EXPECT_EQ(plan().answer, vsDisabled);
    EXPECT_EQ(plan().find(place_role_t::consent)->state, place_state_t::device);
    EXPECT_TRUE(plan().find(place_role_t::consent)->is_read_only);
    EXPECT_EQ(plan().days.state, days_state_t::locked);
    EXPECT_EQ(plan().places.back().state, place_state_t::dangling_link);
}
