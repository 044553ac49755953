// The plan on POSIX: permissions, links, devices, and the resolver without a name server.
#include "statistic_impl/plan.h"

#include "statistic_impl_ga/statistic_impl_ga.h"
#include "support/posix/user.h"
#include "support/profile.h"

#include <gmock/gmock.h>
#include <netinet/in.h>
#include <resolv.h>
#include <sys/stat.h>

using namespace test_support;
using namespace testing;
using namespace OSTREL_NAMESPACE;

namespace {

struct plan_on_posix : Test {
    static plan_t plan() { return make_plan({L"product", {}}); }
    static void expect_failure(folder_outcome_t outcome) {
        EXPECT_THAT(plan().failure, Optional(Field(&folder_forecast_t::outcome, outcome)));
        EXPECT_THROW(statistic_impl_ga_t(L"product", L"1"), std::exception);
    }

    const profile_t profile;
};

} // namespace

TEST_F(plan_on_posix, the_resolver_tells_addresses_from_no_host_and_no_answer) {
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

TEST_F(plan_on_posix, folders_that_the_user_may_not_create_are_foreseen) {
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
    const plan_t found = plan();
    EXPECT_EQ(found.answer, vsDisabled);
    EXPECT_THAT(*found.find(place_role_t::consent), FieldsAre(_, _, place_state_t::device, true));
    EXPECT_EQ(found.days.state, days_state_t::locked);
    EXPECT_EQ(found.places.back().state, place_state_t::dangling_link);
}
