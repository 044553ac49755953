// The statistic object through its public classes, from a notification to the bytes that arrive.
#include "ostrel/ostrel.h"
#include "ostrel/statistic.h"
#include "settor2/product_locations.h"
#include "settor2/product_locations_c.h"
#include "support/collector.h"
#include "support/log_capture.h"
#include "support/profile.h"

#include <boost/make_shared.hpp>
#include <cstring>
#include <ctime>
#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>

using namespace test_support;
using namespace OSTREL_NAMESPACE;
using texts_t = std::vector<std::string>;
namespace fs = std::filesystem;

namespace {

struct locations_t : settor2::IProductLocations {
    ~locations_t() override { install(nullptr); }
    void getVersion(int& major, int& minor, int& build) const override {
        if (has_failed)
            throw std::runtime_error("no version");
        major = version;
        minor = 1;
        build = 312;
    }
    std::wstring getLocation(int kind) const override { return kind == 6 ? location : L"wrong kind"; }
    const wchar_t* getFolder() const override { return folder.c_str(); }
    const wchar_t* getTempDir() const override { return L""; }
    bool isManagerExpected() const override { return false; }

    int version = 7;
    bool has_failed = false;
    std::wstring location;
    std::wstring folder;
};

class statistic : public testing::Test {
protected:
    statistic() {
        profile.set("OSTREL_COLLECTION_URL", collector.url());
        profile.set("NORVANE_FORCE_UUID", "id");
        profile.set("NORVANE_FORCE_FEEDBACK", "1");
    }

    fs::path write_filter(const std::string& content) const {
        write_file(profile.folder() / fs::u8path(u8"pr\u00f6duct") / "statistic" / "enabled_stat_events.xml",
                   content);
        return profile.folder() / fs::u8path(u8"pr\u00f6duct");
    }

    /// What follows the system's name in the bodies of one object that reports these features.
    texts_t events_of(const texts_t& features) const {
        statistic_handle_t* const handle = ostrel_create_statistic("product", "1");
        for (const std::string& feature : features)
            ostrel_notify_feature_usage(handle, feature.c_str());
        ostrel_destroy_statistic(handle);
        texts_t events;
        for (const std::string& body : collector.bodies())
            events.push_back(body.substr(body.find("&t=")));
        return events;
    }

    profile_t profile;
    const collector_t collector;
};

/// Remembers what a guard calls.
struct fake_statistic_t : statistic_t {
    void reserved_slot_1() override { calls.emplace_back("1"); }
    std::wstring get_uuid() const override { return {}; }
    void notify_feature_usage(const std::wstring& feature_name) override {
        calls.emplace_back(feature_name.begin(), feature_name.end());
        if (fails)
            throw std::runtime_error("no more");
    }
    void reserved_slot_5() override {}
    void reserved_slot_6() override {}
    void reserved_slot_7() override {}
    bool flush() override {
        calls.emplace_back("flush");
        return false;
    }
    bool reserved_slot_9() override { return true; }

    texts_t calls;
    bool fails = false;
};

const char* const filter =
    "<bag><event><name>menu</name></event><event><name>menu.file</name></event><event/>"
    "<event><name type=\"int\">5</name></event><other><name>other</name></other>"
    "<event><name>caf\xC3\xA9</name></event><event><name>menu</name></event></bag>";

} // namespace

TEST_F(statistic, enabled_features_become_events_in_their_order) {
    locations_t locations;
    locations.folder = wide(write_filter(filter));
    locations_t::install(&locations);
    EXPECT_EQ(events_of({"menu.file.open", "menu.edit", "menu", "menux", "other", "5", "run.tool", "run.a.b",
                         "caf\xC3\xA9.\xE4\xB8\xAD", "menu.file.", "run.\xFF\xFE", "", "menu.\xC3"}),
              (texts_t{"&t=event&ec=menu.file&el=open&cd3=n", "&t=event&ec=menu&el=edit&cd3=n",
                       "&t=event&ec=menu&cd3=n", "&t=event&ec=run&el=tool&cd3=n",
                       "&t=event&ec=caf%C3%A9&el=%E4%B8%AD&cd3=n", "&t=event&ec=menu.file&cd3=n",
                       "&t=event&ec=run&cd3=n", "&t=event&ec=menu&cd3=n"}));
}

TEST_F(statistic, without_a_readable_filter_only_run_events_pass) {
    locations_t locations;
    locations_t::install(&locations);
    for (const char* const content : {"<bag><event><name>menu</name></event>", "", "<other/>"}) {
        locations.folder = wide(write_filter(content));
        EXPECT_EQ(events_of({"menu", "run.tool"}).back(), "&t=event&ec=run&el=tool&cd3=n") << content;
    }
    locations.folder.clear();
    EXPECT_EQ(events_of({"menu", "run.tool"}).size(), 4U);
}

TEST_F(statistic, a_host_in_c_names_folders_and_version_in_utf_8) {
    const std::string folder = write_filter(filter).u8string();
    settor2_product_locations_t locations = {{7, 0, 12}, "f\xC3\xB6lder", folder.c_str(), nullptr, 0};
    settor2_install_product_locations(&locations);
    locations = {};
    statistic_t::get()->notify_feature_usage(L"menu");
    settor2_install_product_locations(nullptr);
    EXPECT_TRUE(fs::exists(profile.statistic_dir("f\xC3\xB6lder") / "last_active_dates.xml"));
    ASSERT_EQ(collector.bodies().size(), 1U);
    EXPECT_NE(collector.bodies()[0].find("&cid=id&an=vemtra&av=7.0.12&cd1=win32&cd2="), std::string::npos);
    EXPECT_EQ(settor2::IProductLocations::get(), nullptr);
}

TEST_F(statistic, a_whole_body_has_its_parameters_in_their_order) {
    EXPECT_EQ(events_of({"run.tool"}).size(), 1U);
    const std::string body = collector.bodies().at(0);
    const std::string begin = "v=1&tid=UA-40271936-07&cid=id&an=product&av=1&cd1=win32&cd2=";
    EXPECT_EQ(body.substr(0, begin.size()), begin);
    const std::string rest = body.substr(begin.size());
    EXPECT_GT(rest.find('&'), 0U);
    EXPECT_EQ(rest.substr(rest.find('&')), "&t=event&ec=run&el=tool&cd3=n");
}

TEST_F(statistic, a_name_of_any_length_arrives_whole) {
    const std::string name(300000, '/');
    const texts_t events = events_of({"run." + name});
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].size(), std::strlen("&t=event&ec=run&el=&cd3=n") + 3 * name.size());
}

TEST_F(statistic, a_regular_user_is_told_in_the_hit) {
    const std::wstring now = [] {
        const std::time_t seconds = std::time(nullptr);
        wchar_t text[200];
        return std::wstring(text, std::wcsftime(text, 200,
                                                L"<item><Y type=\"int\">%Y</Y><M type=\"int\">%m</M>"
                                                L"<D type=\"int\">%d</D></item>",
                                                std::gmtime(&seconds)));
    }();
    const std::string day(now.begin(), now.end());
    write_file(profile.statistic_dir() / "last_active_dates.xml", "<bag>" + day + day + day + "</bag>");
    EXPECT_EQ(events_of({"run.a"}), (texts_t{"&t=event&ec=run&el=a&cd3=n"}));
    write_file(profile.statistic_dir() / "last_active_dates.xml", "<bag>" + day + day + day + day + "</bag>");
    EXPECT_EQ(events_of({"run.b"}).back(), "&t=event&ec=run&el=b&cd3=y");
}

TEST_F(statistic, a_day_of_use_counts_while_collection_is_off) {
    profile.set("NORVANE_DISABLE_FEEDBACK", "1");
    EXPECT_EQ(events_of({"run.a"}), texts_t{});
    EXPECT_TRUE(fs::exists(profile.statistic_dir() / "last_active_dates.xml"));
}

TEST_F(statistic, a_notification_is_traced_with_its_name_and_value) {
    const auto shared = statistic_t::get();
    const log_capture_t capture;
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

TEST_F(statistic, the_factory_shares_one_object_and_renews_it_after_the_last_holder) {
    {
        const auto first = statistic_t::get();
        locations_t locations;
        locations_t::install(&locations);
        EXPECT_EQ(statistic_t::get(), first);
        statistic_t::get()->notify_feature_usage(L"run.a");
    }
    locations_t locations;
    locations.version = -7;
    locations_t::install(&locations);
    profile.set("NORVANE_FORCE_UUID", "other");
    statistic_t::get()->notify_feature_usage(L"run.b");
    const texts_t bodies = collector.bodies();
    ASSERT_EQ(bodies.size(), 2U);
    EXPECT_NE(bodies[0].find("&cid=id&an=vemtra&av=unknown&cd1="), std::string::npos);
    EXPECT_NE(bodies[1].find("&cid=other&an=vemtra&av=-7.1.312&cd1="), std::string::npos);
}

TEST_F(statistic, a_failed_factory_call_leaves_the_next_one_free_to_succeed) {
    locations_t locations;
    locations_t::install(&locations);
    locations.has_failed = true;
    EXPECT_THROW(statistic_t::get(), std::runtime_error);
    locations.has_failed = false;
    EXPECT_NE(statistic_t::get(), nullptr);
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
    const auto dates = read_file(profile.statistic_dir("vemtra") / "last_active_dates.xml").value_or("");
    EXPECT_TRUE(dates.find("<item>") != std::string::npos && dates.find("<item>") == dates.rfind("<item>"));
}

TEST_F(statistic, the_slots_keep_their_order_and_the_reserved_ones_do_nothing) {
    // In the ABI that all our compilers share, a pointer to a virtual member is its place in the table.
    const auto place = [](auto member) {
        std::ptrdiff_t offset = 0;
        std::memcpy(&offset, &member, sizeof offset);
        return (offset - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
    };
    using type = statistic_t;
    EXPECT_EQ((std::vector<std::ptrdiff_t>{
                  place(&type::reserved_slot_1), place(&type::get_uuid), place(&type::notify_feature_usage),
                  place(&type::notify_feature_usage_ex), place(&type::reserved_slot_5),
                  place(&type::reserved_slot_6), place(&type::reserved_slot_7), place(&type::flush),
                  place(&type::reserved_slot_9), place(&type::get_consent_state),
                  place(&type::set_statistic_collection_enabled)}),
              (std::vector<std::ptrdiff_t>{2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
    const auto shared = statistic_t::get();
    const log_capture_t capture;
    shared->reserved_slot_1();
    shared->reserved_slot_5();
    shared->reserved_slot_6();
    shared->reserved_slot_7();
    EXPECT_TRUE(shared->flush());
    EXPECT_FALSE(shared->reserved_slot_9());
    EXPECT_EQ(capture.texts(), texts_t{});
}

TEST_F(statistic, the_interface_itself_knows_no_answer_and_takes_none) {
    fake_statistic_t fake;
    EXPECT_EQ(fake.get_consent_state(), vsUnknown);
    fake.notify_feature_usage_ex(L"a", 1);
    fake.set_statistic_collection_enabled(true);
    EXPECT_EQ(fake.calls, texts_t{});
}

TEST_F(statistic, a_folder_that_cannot_be_created_throws_out_of_the_constructor) {
    write_file(profile.company(), "a file in the way");
    EXPECT_THROW(ostrel_create_statistic("product", "1"), std::exception);
    EXPECT_THROW(statistic_t::get(), std::exception);
    fs::remove(profile.company());
    write_file(profile.company() / "product", "a file in the way");
    EXPECT_THROW(ostrel_create_statistic("product", "1"), std::exception);
}

TEST_F(statistic, malformed_and_empty_identities_make_working_objects) {
    for (const char* const id : {"", "\xFF", "..\xC0"}) {
        statistic_handle_t* const handle = ostrel_create_statistic(id, id);
        ostrel_notify_feature_usage(handle, "run.a");
        ostrel_destroy_statistic(handle);
    }
    const texts_t bodies = collector.bodies();
    ASSERT_EQ(bodies.size(), 3U);
    EXPECT_NE(bodies[0].find("&an=&av=&cd1="), std::string::npos);
    EXPECT_NE(bodies[1].find("&an=&av=&cd1="), std::string::npos);
    EXPECT_NE(bodies[2].find("&an=..&av=..&cd1="), std::string::npos);
}

TEST(statistic_guard, both_ends_are_reported_and_flushed) {
    const auto fake = boost::make_shared<fake_statistic_t>();
    {
        const statistic_guard_t guard(L"build", L"_begin", L"_end", fake);
        EXPECT_EQ(fake->calls, (texts_t{"build_begin", "flush"}));
    }
    EXPECT_EQ(fake->calls, (texts_t{"build_begin", "flush", "build_end", "flush"}));
    EXPECT_EQ(fake.use_count(), 1);
}

TEST(statistic_guard, a_copy_reports_the_end_once_more) {
    const auto fake = boost::make_shared<fake_statistic_t>();
    {
        const statistic_guard_t guard(L"a", L"", L".", fake);
        const statistic_guard_t copy(guard); // NOLINT(performance-unnecessary-copy-initialization)
    }
    EXPECT_EQ(fake->calls, (texts_t{"a", "flush", "a.", "flush", "a.", "flush"}));
}

TEST(statistic_guard, an_assigned_guard_reports_the_end_that_it_then_holds) {
    const auto left = boost::make_shared<fake_statistic_t>();
    const auto right = boost::make_shared<fake_statistic_t>();
    {
        statistic_guard_t a(L"a", L"<", L">", left);
        const statistic_guard_t b(L"b", L"<", L">", right);
        a = b;
        EXPECT_EQ(left.use_count(), 1);
    }
    EXPECT_EQ(left->calls, (texts_t{"a<", "flush"}));
    EXPECT_EQ(right->calls, (texts_t{"b<", "flush", "b>", "flush", "b>", "flush"}));
}

TEST(statistic_guard, what_a_report_throws_reaches_the_caller) {
    const auto fake = boost::make_shared<fake_statistic_t>();
    fake->fails = true;
    EXPECT_THROW(statistic_guard_t(L"a", L"<", L">", fake), std::runtime_error);
    EXPECT_EQ(fake->calls, (texts_t{"a<"}));
    fake->fails = false;
    const auto leave = [&fake] {
        const statistic_guard_t guard(L"b", L"<", L">", fake);
        fake->fails = true;
    };
    EXPECT_THROW(leave(), std::runtime_error);
    EXPECT_EQ(fake->calls, (texts_t{"a<", "b<", "flush", "b>"}));
    EXPECT_EQ(fake.use_count(), 1);
}
