// The statistic object through its public interfaces, from a notification to the bytes that arrive.
#include "ostrel/ostrel.h"
#include "ostrel/statistic.h"
#include "platform/os_name.h"
#include "settor2/product_locations_c.h"
#include "statistic_impl_ga/hit.h"
#include "support/collector.h"
#include "support/log_capture.h"
#include "support/profile.h"

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>
#include <optional>
#include <thread>

using namespace test_support;
using namespace OSTREL_NAMESPACE;

namespace {

struct statistic : testing::Test {
    statistic() {
        profile.set("OSTREL_COLLECTION_URL", collector.url());
        profile.set("NORVANE_FORCE_UUID", "i&d \u00e9");
        profile.set("NORVANE_FORCE_FEEDBACK", "1");
        locations_t::install(&locations);
    }

    void write_filter(const std::string& content) {
        const fs::path folder = profile.folder() / fs::u8path(u8"pr\u00f6duct");
        write_file(folder / "statistic" / "enabled_stat_events.xml", content);
        locations.folder = wide(folder);
    }

    /// @return all bodies so far, after one more object reported these features
    texts_t bodies_after(const texts_t& features, const char* id = "product", const char* version = "1") {
        statistic_handle_t* const handle = ostrel_create_statistic(id, version);
        for (const std::string& feature : features)
            ostrel_notify_feature_usage(handle, feature.c_str());
        ostrel_destroy_statistic(handle);
        return collector.bodies();
    }

    profile_t profile;
    const collector_t collector;
    locations_t locations;
    const std::string system = // from the application's version to the event
        compose_hit_prefix(
            {"", {}, {}, {}, ostrel_platform::os_product_name().value_or(L"Undefined Windows Version")})
            .substr(sizeof "v=1&tid=&cid=&an=&av=" - 1);
    const std::string prefix = "v=1&tid=UA-40271936-07&cid=i&d \u00e9&an=product&av=1" + system;
};

/// Remembers what a guard calls.
struct fake_statistic_t : statistic_t {
    void reserved_slot_1() override {}
    std::wstring get_uuid() const override { return {}; }
    void reserved_slot_5() override {}
    void reserved_slot_6() override {}
    void reserved_slot_7() override {}
    bool reserved_slot_9() override { return true; }
    void notify_feature_usage(const std::wstring& feature_name) override {
        calls.append(feature_name.begin(), feature_name.end());
        if (fails)
            throw std::runtime_error("no more");
    }
    bool flush() override {
        calls += "!";
        return false;
    }

    std::string calls;
    bool fails = false;
};

const char* const filter =
    "<bag><event><name>menu</name></event><event><name>menu.file</name></event><event/>"
    "<event><name type=\"int\">5</name></event><other><name>other</name></other>"
    "<event><name>caf\xC3\xA9</name></event><event><name>menu</name></event></bag>";

} // namespace

TEST_F(statistic, enabled_features_become_events_in_their_order) {
    write_filter(filter);
    const std::string long_name(300000, 'x'), units(64, 'u');
    const texts_t features =
        words_of("menu.file.open menu.edit menu menux other 5 run.tool run.a.b caf\xC3\xA9.\xE4\xB8\xAD "
                 "menu.file. run.\xFF\xFE menu.\xC3 run." +
                 units + " run." + long_name);
    texts_t expected =
        words_of("menu.file&el=open menu&el=edit menu run&el=tool caf%C3%A9&el=%E4%B8%AD menu.file run menu "
                 "run&el=" +
                 units + " run&el=" + long_name);
    expected.emplace_back(
        "run&el=%01%20%21%22%23%24%25%26%27%28%29%2A%2B%2C-%2F%3A%3B%3C%3D%3E%3F%40%5B%5C%5D"
        "%5E_%60%7B%7C%7D~%7F");
    for (std::string& event : expected)
        event = prefix + event + "&cd3=n";
    EXPECT_EQ(bodies_after(features + texts_t{"", "run.\x01 !\"#$%&'()*+,-/:;<=>?@[\\]^_`{|}~\x7F"}),
              expected);
}

TEST_F(statistic, without_a_readable_filter_only_run_events_pass) {
    texts_t expected;
    for (const char* const content : {"<bag><event><name>menu</name></event>", "", "<other/>"}) {
        write_filter(content);
        expected.push_back(prefix + "run&el=tool&cd3=n");
        EXPECT_EQ(bodies_after({"menu", "run.tool"}), expected) << content;
    }
    locations.folder.clear();
    EXPECT_EQ(bodies_after({"menu", "run.tool"}, "..\xC0 & \u00e9", "1 & \xFF")[3],
              "v=1&tid=UA-40271936-07&cid=i&d \u00e9&an=..%20%26%20%C3%A9&av=1 & " + system +
                  "run&el=tool&cd3=n");
}

TEST_F(statistic, the_hit_tells_regular_users_and_days_count_while_off) {
    const fs::path days = profile.statistic_dir() / "last_active_dates.xml";
    const std::string day = "<item><Y type=\"int\">9999</Y><M type=\"int\">1</M><D type=\"int\">1</D></item>";
    for (const std::string& more : {std::string(), day}) {
        write_file(days, "<bag>" + day + day + more + "</bag>");
        EXPECT_EQ(bodies_after({"run.a"}).back(), prefix + "run&el=a&cd3=" + (more.empty() ? "n" : "y"));
    }
    fs::remove(days);
    profile.set("NORVANE_DISABLE_FEEDBACK", "1");
    const log_capture_t nothing("ostrel.statistic", 60000); // a report without lines has its own path
    statistic_t::get()->notify_feature_usage(L"run.a");
    EXPECT_EQ(bodies_after({"run.a"}).size(), 2U);
    EXPECT_TRUE(fs::exists(days));
    EXPECT_TRUE(fs::exists(profile.statistic_dir("vemtra") / "last_active_dates.xml"));
}

TEST_F(statistic, a_refusal_does_not_stop_a_forced_session) {
    statistic_handle_t* const handle = ostrel_create_statistic("product", "1");
    ostrel_set_statistic_collection_enabled(handle, 0);
    EXPECT_EQ(read_file(profile.virk()), "0");
    ostrel_notify_feature_usage(handle, "run.a");
    ostrel_destroy_statistic(handle);
    EXPECT_EQ(collector.bodies(), texts_t{prefix + "run&el=a&cd3=n"});
}

TEST_F(statistic, an_answer_starts_and_stops_collection) {
    ostrel_notify_feature_usage(nullptr, nullptr);
    ostrel_set_statistic_collection_enabled(nullptr, 1);
    ostrel_destroy_statistic(nullptr);
    EXPECT_EQ(ostrel_should_ask_user_consent(nullptr), 0);
    profile.unset("NORVANE_FORCE_FEEDBACK");
    statistic_handle_t* const handle = ostrel_create_statistic("product", "1");
    ostrel_notify_feature_usage(handle, "run.before");
    write_file(profile.virk(), "a longer answer");
    ostrel_set_statistic_collection_enabled(handle, 2);
    EXPECT_EQ(read_file(profile.virk()), "1");
    ostrel_notify_feature_usage(handle, "run.between");
    ostrel_set_statistic_collection_enabled(handle, 0);
    ostrel_notify_feature_usage(handle, "run.after");
    fs::remove(profile.virk());
    fs::create_directories(profile.virk());
    ostrel_set_statistic_collection_enabled(handle, 1);
    EXPECT_EQ(ostrel_should_ask_user_consent(handle), 1) << "the answer could not be written";
    ostrel_notify_feature_usage(handle, "run.unanswered");
    ostrel_destroy_statistic(handle);
    EXPECT_EQ(collector.bodies(), texts_t{prefix + "run&el=between&cd3=n"});
}

TEST_F(statistic, notifications_are_traced_with_name_and_value) {
    const auto shared = statistic_t::get();
    const log_capture_t capture;
    EXPECT_TRUE(shared->flush());
    EXPECT_FALSE(shared->reserved_slot_9());
    shared->notify_feature_usage(L"caf\u00e9");
    shared->notify_feature_usage_ex(L"", 18446744073709551615U);
    const std::string call = "void " + library + "statistic_impl_ga_t::notify_feature_usage_ex(const " +
                             wide_text + " &, unsigned __int64)";
    EXPECT_EQ(capture.texts(), traced(call, {"feature_name=caf\xC3\xA9 value=1"}) +
                                   traced(call, {"feature_name= value=18446744073709551615"}));
    EXPECT_EQ(capture.lines()[1].level, 20000);
}

TEST_F(statistic, an_appender_attached_later_receives_all_further_lines) {
    const auto shared = statistic_t::get();
    shared->notify_feature_usage(L"not enabled");
    std::optional<log_capture_t> capture;
    std::thread([&capture] { capture.emplace("ostrel"); }).join();
    shared->notify_feature_usage(L"not enabled");
    EXPECT_EQ(capture->lines().size(), 3U);
}

TEST_F(statistic, the_factory_shares_one_object_until_its_last_owner_releases_it) {
    locations.has_failed = true;
    EXPECT_THROW(statistic_t::get(), std::runtime_error);
    locations_t::install(nullptr);
    {
        const auto first = statistic_t::get();
        locations_t::install(&locations);
        EXPECT_EQ(statistic_t::get(), first);
        first->notify_feature_usage(L"run.a");
    }
    locations.has_failed = false;
    locations.version = -7;
    profile.set("NORVANE_FORCE_UUID", "other");
    statistic_t::get()->notify_feature_usage(L"run.b");
    write_filter(filter);
    const std::string folder = ostrel_platform::to_utf8(locations.folder);
    settor2_product_locations_t in_c = {{7, 0, 12}, "f\xC3\xB6lder", folder.c_str(), nullptr, 0};
    settor2_install_product_locations(&in_c);
    in_c = {};
    statistic_t::get()->notify_feature_usage(L"menu");
    settor2_install_product_locations(nullptr);
    EXPECT_EQ(settor2::IProductLocations::get(), nullptr);
    EXPECT_TRUE(fs::exists(profile.statistic_dir("f\xC3\xB6lder") / "last_active_dates.xml"));
    const std::string begin = "v=1&tid=UA-40271936-07&cid=";
    EXPECT_EQ(collector.bodies(),
              (texts_t{begin + "i&d \u00e9&an=vemtra&av=unknown" + system + "run&el=a&cd3=n",
                       begin + "other&an=vemtra&av=-7.1.312" + system + "run&el=b&cd3=n",
                       begin + "other&an=vemtra&av=7.0.12" + system + "menu&cd3=n"}));
}

TEST_F(statistic, reports_of_concurrent_threads_all_arrive) {
    const auto use = [shared = statistic_t::get()] {
        for (int round = 0; round < 25; ++round) {
            EXPECT_EQ(statistic_t::get(), shared);
            shared->notify_feature_usage(L"run.a");
            shared->set_statistic_collection_enabled(true);
            EXPECT_EQ(shared->get_consent_state(), vsEnabled);
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back(use);
    for (std::thread& thread : threads)
        thread.join();
    ASSERT_TRUE(collector.wait_for(200));
}

TEST_F(statistic, every_destroyed_guard_reports_the_end_event_that_it_holds) {
    const auto left = boost::make_shared<fake_statistic_t>();
    const auto right = boost::make_shared<fake_statistic_t>();
    {
        const statistic_guard_t a(L"a", L"<", L">", left);
        const statistic_guard_t copy(a); // NOLINT(performance-unnecessary-copy-initialization)
        statistic_guard_t b(L"b", L"<", L">", right);
        EXPECT_EQ(left->calls + right->calls, "a<!b<!");
        b = a;
    }
    EXPECT_EQ(left->calls, "a<!a>!a>!a>!");
    EXPECT_EQ(right->calls, "b<!");
    const auto leave = [&right] {
        const statistic_guard_t guard(L"c", L"", L".", right);
        right->fails = true;
    };
    EXPECT_THROW(leave(), std::runtime_error);
    EXPECT_EQ(right->calls, "b<!c!c.");
}
