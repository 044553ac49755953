// The statistic object through its public interfaces, from a notification to the bytes that arrive.
#include "ostrel/ostrel.h"
#include "ostrel/statistic.h"
#include "platform/os_name.h"
#include "settor2/product_locations_c.h"
#include "support/collector.h"
#include "support/log_capture.h"
#include "support/profile.h"

#include <boost/make_shared.hpp>
#include <cctype>
#include <cstring>
#include <gtest/gtest.h>
#include <iomanip>
#include <optional>
#include <sstream>
#include <thread>

using namespace test_support;
using namespace OSTREL_NAMESPACE;

namespace {

class statistic : public testing::Test {
protected:
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

    /// All bodies that arrived, after one more object reported these features.
    texts_t bodies_after(const texts_t& features, const char* id = "product", const char* version = "1") {
        statistic_handle_t* const handle = ostrel_create_statistic(id, version);
        for (const std::string& feature : features)
            ostrel_notify_feature_usage(handle, feature.c_str());
        ostrel_destroy_statistic(handle);
        return collector.bodies();
    }

    static std::string escaped(const std::string& text) {
        std::ostringstream result;
        for (const char c : text)
            if (std::isalnum(static_cast<unsigned char>(c)) != 0 || std::strchr("-._~", c) != nullptr)
                result << c;
            else
                result << '%' << std::uppercase << std::hex << std::setw(2) << std::setfill('0')
                       << int{static_cast<unsigned char>(c)};
        return result.str();
    }

    profile_t profile;
    const collector_t collector;
    locations_t locations;
    const std::string os = escaped(
        ostrel_platform::to_utf8(ostrel_platform::os_product_name().value_or(L"Undefined Windows Version")));
    const std::string system = "&cd1=win32&cd2=" + os + "&t=event";
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
    const std::string long_name(300000, 'x');
    EXPECT_EQ(
        bodies_after({"menu.file.open", "menu.edit", "menu", "menux", "other", "5", "run.tool", "run.a.b",
                      "caf\xC3\xA9.\xE4\xB8\xAD", "menu.file.", "run.\xFF\xFE", "", "run.a&b",
                      "run.\x01 !\"#$%&'()*+,-/:;<=>?@[\\]^_`{|}~\x7F", "menu.\xC3", "run." + long_name}),
        (texts_t{prefix + "&ec=menu.file&el=open&cd3=n", prefix + "&ec=menu&el=edit&cd3=n",
                 prefix + "&ec=menu&cd3=n", prefix + "&ec=run&el=tool&cd3=n",
                 prefix + "&ec=caf%C3%A9&el=%E4%B8%AD&cd3=n", prefix + "&ec=menu.file&cd3=n",
                 prefix + "&ec=run&cd3=n", prefix + "&ec=run&el=a%26b&cd3=n",
                 prefix + "&ec=run&el=%01%20%21%22%23%24%25%26%27%28%29%2A%2B%2C-%2F%3A%3B%3C%3D%3E%3F"
                          "%40%5B%5C%5D%5E_%60%7B%7C%7D~%7F&cd3=n",
                 prefix + "&ec=menu&cd3=n", prefix + "&ec=run&el=" + long_name + "&cd3=n"}));
    EXPECT_NE(os, "") << "the system has a name";
}

TEST_F(statistic, without_a_readable_filter_only_run_events_pass_whatever_the_identity) {
    texts_t expected;
    for (const char* const content : {"<bag><event><name>menu</name></event>", "", "<other/>"}) {
        write_filter(content);
        expected.push_back(prefix + "&ec=run&el=tool&cd3=n");
        EXPECT_EQ(bodies_after({"menu", "run.tool"}), expected) << content;
    }
    locations.folder.clear();
    EXPECT_EQ(bodies_after({"menu", "run.tool"}, "..\xC0 & \u00e9", "1 & \xFF")[3],
              "v=1&tid=UA-40271936-07&cid=i&d \u00e9&an=..%20%26%20%C3%A9&av=1 & " + system +
                  "&ec=run&el=tool&cd3=n");
}

TEST_F(statistic, a_regular_user_is_told_in_the_hit_and_a_day_counts_while_collection_is_off) {
    const fs::path days = profile.statistic_dir() / "last_active_dates.xml";
    const std::string day = "<item><Y type=\"int\">9999</Y><M type=\"int\">1</M><D type=\"int\">1</D></item>";
    write_file(days, "<bag>" + day + day + "</bag>");
    EXPECT_EQ(bodies_after({"run.a"}), texts_t{prefix + "&ec=run&el=a&cd3=n"});
    write_file(days, "<bag>" + day + day + day + "</bag>");
    EXPECT_EQ(bodies_after({"run.b"}).back(), prefix + "&ec=run&el=b&cd3=y");
    fs::remove(days);
    profile.set("NORVANE_DISABLE_FEEDBACK", "1");
    const log_capture_t nothing("ostrel.statistic", 60000); // another way through the code
    statistic_t::get()->notify_feature_usage(L"run.a");
    EXPECT_EQ(bodies_after({"run.a"}).size(), 2U);
    EXPECT_TRUE(fs::exists(days) && fs::exists(profile.statistic_dir("vemtra") / "last_active_dates.xml"));
}

TEST_F(statistic, a_refusal_does_not_stop_a_forced_session) {
    statistic_handle_t* const handle = ostrel_create_statistic("product", "1");
    ostrel_set_statistic_collection_enabled(handle, 0);
    EXPECT_EQ(read_file(profile.virk()), "0");
    ostrel_notify_feature_usage(handle, "run.a");
    ostrel_destroy_statistic(handle);
    EXPECT_EQ(collector.bodies(), texts_t{prefix + "&ec=run&el=a&cd3=n"});
}

TEST_F(statistic, consent_is_asked_for_once_and_starts_collection) {
    ostrel_notify_feature_usage(nullptr, nullptr);
    ostrel_set_statistic_collection_enabled(nullptr, 1);
    ostrel_destroy_statistic(nullptr);
    EXPECT_EQ(ostrel_should_ask_user_consent(nullptr), 0);
    profile.unset("NORVANE_FORCE_FEEDBACK");
    statistic_handle_t* const handle = ostrel_create_statistic("product", "1");
    EXPECT_EQ(ostrel_should_ask_user_consent(handle), 1);
    ostrel_notify_feature_usage(handle, "run.before");
    write_file(profile.virk(), "a longer answer");
    ostrel_set_statistic_collection_enabled(handle, 2);
    EXPECT_EQ(read_file(profile.virk()), "1");
    EXPECT_EQ(ostrel_should_ask_user_consent(handle), 0);
    ostrel_notify_feature_usage(handle, "run.caf\xC3\xA9");
    ostrel_set_statistic_collection_enabled(handle, 0);
    EXPECT_EQ(read_file(profile.virk()), "0");
    ostrel_notify_feature_usage(handle, "run.after");
    fs::remove(profile.virk());
    fs::create_directories(profile.virk());
    ostrel_set_statistic_collection_enabled(handle, 1);
    EXPECT_EQ(ostrel_should_ask_user_consent(handle), 1) << "an answer that cannot be written is ignored";
    ostrel_destroy_statistic(handle);
    fs::remove_all(profile.company());
    write_file(profile.company(), "a file in the folder's place");
    EXPECT_THROW(ostrel_create_statistic("product", "1"), std::exception);
    EXPECT_EQ(collector.bodies(), texts_t{prefix + "&ec=run&el=caf%C3%A9&cd3=n"});
}

TEST_F(statistic, notifications_are_traced_with_name_and_value_and_reserved_slots_do_nothing) {
    const auto shared = statistic_t::get();
    const log_capture_t capture;
    shared->reserved_slot_1();
    shared->reserved_slot_5();
    shared->reserved_slot_6();
    shared->reserved_slot_7();
    EXPECT_TRUE(shared->flush() && !shared->reserved_slot_9());
    shared->notify_feature_usage(L"caf\u00e9");
    shared->notify_feature_usage_ex(L"", 18446744073709551615U);
    const std::string text =
        "void ostrel_1_5_6::statistic_impl_ga_t::notify_feature_usage_ex(const std::basic_string<__wchar_t, "
        "std::char_traits<__wchar_t>, std::allocator<__wchar_t>> &, unsigned __int64)";
    EXPECT_EQ(capture.texts(),
              (texts_t{"ENTER: " + text, "feature_name=caf\xC3\xA9 value=1", "EXIT:  " + text,
                       "ENTER: " + text, "feature_name= value=18446744073709551615", "EXIT:  " + text}));
    EXPECT_EQ(capture.lines()[1].level, 20000);
}

TEST_F(statistic, an_appender_attached_later_by_another_thread_receives_every_line_from_then_on) {
    const auto shared = statistic_t::get();
    for (int i = 0; i < 1000; ++i)
        shared->notify_feature_usage(L"not enabled");
    std::optional<log_capture_t> capture;
    std::thread([&capture] { capture.emplace("ostrel"); }).join();
    for (int i = 0; i < 3; ++i)
        shared->notify_feature_usage(L"not enabled");
    EXPECT_EQ(capture->lines().size(), 9U);
}

TEST_F(statistic, the_factory_shares_one_object_and_renews_it_after_the_last_holder) {
    locations.has_failed = true;
    EXPECT_THROW(statistic_t::get(), std::runtime_error);
    locations_t::install(nullptr);
    {
        const auto first = statistic_t::get();
        locations_t::install(&locations);
        EXPECT_EQ(statistic_t::get(), first);
        statistic_t::get()->notify_feature_usage(L"run.a");
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
              (texts_t{begin + "i&d \u00e9&an=vemtra&av=unknown" + system + "&ec=run&el=a&cd3=n",
                       begin + "other&an=vemtra&av=-7.1.312" + system + "&ec=run&el=b&cd3=n",
                       begin + "other&an=vemtra&av=7.0.12" + system + "&ec=menu&cd3=n"}));
}

TEST_F(statistic, many_threads_share_the_object_and_every_report_arrives) {
    {
        const auto shared = statistic_t::get();
        std::vector<std::thread> threads;
        for (int i = 0; i < 8; ++i)
            threads.emplace_back([&shared] {
                for (int round = 0; round < 25; ++round) {
                    EXPECT_EQ(statistic_t::get(), shared);
                    shared->notify_feature_usage(L"run.a");
                    shared->set_statistic_collection_enabled(true);
                    EXPECT_EQ(shared->get_consent_state(), vsEnabled);
                }
            });
        for (std::thread& thread : threads)
            thread.join();
    }
    EXPECT_EQ(collector.bodies().size(), 200U);
}

TEST_F(statistic, the_slots_keep_their_order) {
    // In the ABI of our compilers, a pointer to a virtual member begins with its offset in the table. On
    // x86-64 that is one more, on arm64 it is not.
    const auto is_at = [](std::size_t slot, auto member) {
        std::size_t place = 0;
        std::memcpy(&place, &member, sizeof place);
        return place / sizeof(void*) == slot;
    };
    using type = statistic_t;
    EXPECT_TRUE(is_at(2, &type::reserved_slot_1) && is_at(3, &type::get_uuid) &&
                is_at(4, &type::notify_feature_usage) && is_at(5, &type::notify_feature_usage_ex) &&
                is_at(6, &type::reserved_slot_5) && is_at(7, &type::reserved_slot_6) &&
                is_at(8, &type::reserved_slot_7) && is_at(9, &type::flush) &&
                is_at(10, &type::reserved_slot_9) && is_at(11, &type::get_consent_state) &&
                is_at(12, &type::set_statistic_collection_enabled));
}

TEST_F(statistic, every_guard_that_goes_reports_the_end_that_it_holds) {
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
