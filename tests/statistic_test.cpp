// The statistic object through its public interfaces, from a notification to the bytes that arrive.
#include "ostrel/ostrel.h"
#include "ostrel/statistic.h"
#include "settor2/product_locations_c.h"
#include "statistic_impl/event_filter.h"
#include "support/collector.h"
#include "support/log_capture.h"
#include "support/profile.h"

#include <boost/make_shared.hpp>
#include <future>
#include <regex>

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

    /// Reports the features through a new object. @return all events so far
    texts_t events_after(const texts_t& features, const char* id = "product", const char* version = "1") {
        statistic_handle_t* const handle = ostrel_create_statistic(id, version);
        for (const std::string& feature : features)
            ostrel_notify_feature_usage(handle, feature.c_str());
        ostrel_destroy_statistic(handle);
        return events();
    }

    /// The bodies so far, without the beginning and the end that most of them share.
    texts_t events() const {
        static const std::regex shared(
            "^v=1&tid=UA-40271936-07&cid=i&d \u00e9&an=product&av=1&cd1=win32&cd2=SYSTEM"
            "&t=event&ec=|&cd3=n$");
        texts_t result = collector.bodies();
        for (std::string& body : result)
            body = std::regex_replace(std::regex_replace(body, std::regex("cd2=[^&]*"), "cd2=SYSTEM"), shared,
                                      "");
        return result;
    }

    profile_t profile;
    const collector_t collector;
    locations_t locations;
};

/// Records the calls of a guard.
struct fake_statistic_t : statistic_t {
    void reserved_slot_1() override {}
    std::wstring get_uuid() const override { return {}; }
    void reserved_slot_5() override {}
    void reserved_slot_6() override {}
    void reserved_slot_7() override {}
    bool reserved_slot_9() override { return true; }
    void notify_feature_usage(const std::wstring& feature_name) override {
        calls.append(feature_name.begin(), feature_name.end());
        if (feature_name == L"fail")
            throw std::runtime_error("no more");
    }
    bool flush() override {
        calls += "!";
        return false;
    }

    std::string calls;
};

const char* const filter =
    "<bag><event><name>menu</name></event><event><name>menu.file</name></event><event/>"
    "<event><name type=\"int\">5</name></event><other><name>other</name></other>"
    "<event><name>caf\xC3\xA9</name></event><event><name>menu</name></event></bag>";

} // namespace

TEST_F(statistic, enabled_features_become_events_in_their_order) {
    write_filter(filter);
    const std::string units(61, 'u'), long_name(300000, 'x'); // "run." + units exceeds the buffer by one
    const std::string features = "menu.file.open menu.edit menu menux other 5 run.tool run.a.b menu.file. "
                                 "caf\xC3\xA9.\xE4\xB8\xAD run.\xFF\xFE menu.\xC3 ";
    const std::string expected = "menu.file&el=open menu&el=edit menu run&el=tool menu.file "
                                 "caf%C3%A9&el=%E4%B8%AD run menu ";
    EXPECT_EQ(events_after(words_of(features + "run." + units + " run." + long_name) + texts_t{""}),
              words_of(expected + "run&el=" + units + " run&el=" + long_name));
}

TEST_F(statistic, without_a_readable_filter_only_run_events_pass) {
    write_filter("<bag><event><name>menu</name></event>");
    EXPECT_EQ(events_after({"menu", "run.tool"}), texts_t{"run&el=tool"});
    locations.folder.clear();
    EXPECT_TRUE(event_filter_path().is_empty());
    EXPECT_EQ(events_after({"menu", "run.tool"}, "..\xC0 & \u00e9", "1 & \xFF").back(),
              "v=1&tid=UA-40271936-07&cid=i&d \u00e9&an=..%20%26%20%C3%A9&av=1 & "
              "&cd1=win32&cd2=SYSTEM&t=event&ec=run&el=tool");
}

TEST_F(statistic, hits_mark_regular_users_and_days_are_recorded_despite_opt_out) {
    const fs::path days = profile.statistic_dir() / "last_active_dates.xml";
    const std::string day = "<item><Y type=\"int\">9999</Y><M type=\"int\">1</M><D type=\"int\">1</D></item>";
    write_file(days, "<bag>" + day + day + "</bag>");
    EXPECT_EQ(events_after({"run.a"}), texts_t{"run&el=a"});
    write_file(days, "<bag>" + day + day + day + "</bag>");
    EXPECT_EQ(events_after({"run.a"}), (texts_t{"run&el=a", "run&el=a&cd3=y"}));
    fs::remove(days);
    profile.set("NORVANE_DISABLE_FEEDBACK", "1");
    statistic_t::get()->notify_feature_usage(L"run.a");
    EXPECT_EQ(events_after({"run.a"}).size(), 2U);
    EXPECT_TRUE(fs::exists(days));
    EXPECT_TRUE(fs::exists(profile.statistic_dir("vemtra") / "last_active_dates.xml"));
}

TEST_F(statistic, a_refusal_does_not_stop_a_forced_session) {
    auto shared = statistic_t::get();
    shared->set_statistic_collection_enabled(false);
    shared->notify_feature_usage(L"run.a");
    shared.reset(); // waits for the hit
    EXPECT_EQ(collector.bodies().size(), 1U);
}

TEST_F(statistic, an_answer_controls_collection_and_is_not_requested_again) {
    profile.unset("NORVANE_FORCE_FEEDBACK");
    statistic_handle_t* const handle = ostrel_create_statistic("product", "1");
    EXPECT_EQ(ostrel_should_ask_user_consent(handle), 1);
    ostrel_notify_feature_usage(handle, "run.before");
    write_file(profile.virk(), "a longer answer");
    ostrel_set_statistic_collection_enabled(handle, 2);
    EXPECT_EQ(read_file(profile.virk()), "1");
    ostrel_notify_feature_usage(handle, "run.between");
    ostrel_set_statistic_collection_enabled(handle, 0);
    EXPECT_EQ(read_file(profile.virk()), "0");
    EXPECT_EQ(ostrel_should_ask_user_consent(handle), 0);
    ostrel_notify_feature_usage(handle, "run.after");
    fs::remove(profile.virk());
    fs::create_directories(profile.virk());
    ostrel_set_statistic_collection_enabled(handle, 1);
    EXPECT_EQ(ostrel_should_ask_user_consent(handle), 1) << "the answer could not be written";
    ostrel_notify_feature_usage(handle, "run.unanswered");
    ostrel_destroy_statistic(handle);
    EXPECT_EQ(events(), texts_t{"run&el=between"});
}

TEST_F(statistic, a_null_handle_is_a_no_op) {
    ostrel_notify_feature_usage(nullptr, nullptr);
    ostrel_set_statistic_collection_enabled(nullptr, 1);
    ostrel_destroy_statistic(nullptr);
    EXPECT_EQ(ostrel_should_ask_user_consent(nullptr), 0);
}

TEST_F(statistic, notifications_are_traced_as_soon_as_somebody_listens) {
    statistic_handle_t* const handle = ostrel_create_statistic("product", "1");
    const auto shared = statistic_t::get();
    shared->notify_feature_usage(L"not traced");
    const log_capture_t capture("ostrel");
    EXPECT_TRUE(shared->flush());
    EXPECT_FALSE(shared->reserved_slot_9());
    ostrel_notify_feature_usage(handle, "caf\xC3\xA9");
    shared->notify_feature_usage_ex(L"", 18446744073709551615U);
    const std::string call = "void " + library + "statistic_impl_ga_t::notify_feature_usage_ex(const " +
                             wide_text + " &, unsigned __int64)";
    EXPECT_EQ(capture.texts(), traced(call, {"feature_name=caf\xC3\xA9 value=1"}) +
                                   traced(call, {"feature_name= value=18446744073709551615"}));
    EXPECT_EQ(capture.lines()[1].level, 20000);
    ostrel_destroy_statistic(handle);
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
    const std::string begin = "v=1&tid=UA-40271936-07&cid=";
    EXPECT_EQ(events(),
              (texts_t{begin + "i&d \u00e9&an=vemtra&av=unknown&cd1=win32&cd2=SYSTEM&t=event&ec=run&el=a",
                       begin + "other&an=vemtra&av=-7.1.312&cd1=win32&cd2=SYSTEM&t=event&ec=run&el=b"}));
}

TEST_F(statistic, a_service_in_c_is_copied_and_earlier_copies_stay_valid) {
    write_filter(filter);
    const std::string folder = ostrel_platform::to_utf8(locations.folder);
    settor2_product_locations_t in_c = {{7, 0, 12}, "f\xC3\xB6lder", folder.c_str(), "t\xC3\xA9mp", 1};
    settor2_install_product_locations(&in_c);
    const auto* const first = settor2::IProductLocations::get();
    in_c = {};
    statistic_t::get()->notify_feature_usage(L"menu");
    EXPECT_EQ(events(), texts_t{"v=1&tid=UA-40271936-07&cid=i&d "
                                "\u00e9&an=vemtra&av=7.0.12&cd1=win32&cd2=SYSTEM&t=event&ec=menu"});
    EXPECT_TRUE(fs::exists(profile.statistic_dir("f\xC3\xB6lder") / "last_active_dates.xml"));
    settor2_install_product_locations(&in_c);
    EXPECT_EQ(first->getTempDir(), std::wstring(L"t\u00e9mp"));
    EXPECT_TRUE(first->isManagerExpected());
    EXPECT_EQ(settor2::IProductLocations::get()->getTempDir(), std::wstring());
    EXPECT_FALSE(settor2::IProductLocations::get()->isManagerExpected());
    settor2_install_product_locations(nullptr);
    EXPECT_EQ(settor2::IProductLocations::get(), nullptr);
}

// All threads record the first day of use. Some create and destroy objects while others use theirs.
TEST_F(statistic, reports_of_concurrent_threads_all_arrive) {
    std::vector<std::future<void>> users(8);
    for (auto& user : users)
        user = std::async(std::launch::async, [shared = statistic_t::get()] {
            for (int round = 0; round < 25; ++round) {
                statistic_handle_t* const own = ostrel_create_statistic("own", "1.0");
                ostrel_notify_feature_usage(own, "run.a");
                ostrel_destroy_statistic(own);
                EXPECT_EQ(statistic_t::get(), shared);
                shared->notify_feature_usage(L"run.a");
                shared->set_statistic_collection_enabled(true);
                EXPECT_EQ(shared->get_consent_state(), vsEnabled);
            }
        });
    users.clear(); // waits for the threads
    EXPECT_TRUE(collector.wait_for(400));
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
    EXPECT_THROW(statistic_guard_t(L"", L"c", L"fail", right), std::runtime_error);
    EXPECT_EQ(right->calls, "b<!c!fail");
}
