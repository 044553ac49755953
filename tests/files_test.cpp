// The files that the library keeps: bags on their way to the disk and back, and the days of use.
#include "ostrel/filelock.h"
#include "statistic_impl/last_active_dates.h"
#include "support/profile.h"
#include "toolkit/kiln2/variant_bag.h"

#include <ctime>
#include <gtest/gtest.h>
#include <thread>

using namespace test_support;
using namespace OSTREL_NAMESPACE;
using kiln2::load_variant_bag2;
using kiln2::save_variant_bag2;
using kiln2::variant_bag_t;
using kiln2::variant_t;

namespace {

std::string nested(int depth) {
    std::string begin, end;
    for (int i = 1; i < depth; ++i) {
        begin += "<b>";
        end += "</b>";
    }
    return "<bag>" + begin + end + "</bag>";
}

class variant_bag : public testing::Test {
protected:
    int load(bool optional = false) { return load_variant_bag2(bag, wide(file), L"bag", optional); }
    bool save(const variant_bag_t& saved, const wchar_t* root = L"bag") const {
        return save_variant_bag2(saved, wide(file), root);
    }
    bool is_empty() const { return bag.values().empty() && bag.bags().empty(); }

    const profile_t profile;
    const fs::path file = profile.folder() / fs::u8path(u8"b\u00e4g.xml");
    variant_bag_t bag;
};

std::string item(const active_date_t& date) {
    return "<item><Y type=\"int\">" + std::to_string(date.year) + "</Y><M type=\"int\">" +
           std::to_string(date.month) + "</M><D type=\"int\">" + std::to_string(date.day) + "</D></item>";
}

class last_active_dates : public testing::Test {
protected:
    last_active_dates() {
        while (std::time(nullptr) % 86400 > 86390) // no test begins on one day and ends on the next
            std::this_thread::yield();
        today = last_active_dates_t::today();
    }
    std::vector<active_date_t> stored() const { return stored_active_dates(wide(file)).value(); }

    const profile_t profile;
    const kiln2::path_t path{wide(profile.folder())};
    const fs::path file = profile.folder() / "last_active_dates.xml";
    active_date_t today;
    const active_date_t old{2014, 7, 2};
};

} // namespace

TEST_F(variant_bag, what_was_saved_comes_back_to_the_letter) {
    const std::wstring texts[] = {
        L"", L" ", L"\n", L" a\tb\r\nc\r ", L"<&>\"']]>", L"\x01\x1F\x7F", L"caf\u00e9 \u4e2d \U0001F600"};
    variant_bag_t saved;
    saved.put(L"least", -2147483647 - 1);
    saved.put(L"nothing", {});
    for (const std::wstring& text : texts)
        saved.add_bag(L"item").put(L"text", text);
    saved.add_bag(L"empty");
    // A draft that a killed writer left is in nobody's way.
    write_file(fs::path(file) += ".tmp", std::string(10000, '<'));
    ASSERT_TRUE(save(saved));
    EXPECT_FALSE(fs::exists(fs::path(file) += ".tmp"));
    ASSERT_EQ(load(), 1);
    EXPECT_EQ(bag.values(), saved.values());
    ASSERT_EQ(bag.bags().size(), 8U);
    for (std::size_t i = 0; i < 7; ++i)
        EXPECT_EQ(bag.bags()[i].second.get(L"text"), variant_t(texts[i])) << i;
}

TEST_F(variant_bag, what_is_missing_or_malformed_leaves_the_bag_empty) {
    const std::string whole = "<bag><item><Y type=\"int\">1</Y></item><name>n</name></bag>";
    texts_t malformed{"",         "\n",     std::string(1, '\0'), "\x89PNG\r\n\x1A\n",      "text",
                      "<other/>", "<Bag/>", nested(65),           std::string(200000, '<'), nested(200000)};
    for (std::size_t length = 1; length < whole.size(); length += 5)
        malformed.push_back(whole.substr(0, length));
    EXPECT_TRUE(load() == 0 && load(true) == 1);
    for (const std::string& content : malformed) {
        write_file(file, content);
        bag.put(L"former", 1);
        EXPECT_EQ(load(), -1) << content.substr(0, 60);
        EXPECT_TRUE(is_empty());
    }
    for (const std::string& content : {whole, nested(64), std::string("<bag/>")}) {
        write_file(file, content);
        EXPECT_EQ(load(), 1) << content.substr(0, 60);
    }
    fs::resize_file(file, (std::uintmax_t{64} << 20) + 1);
    EXPECT_EQ(load(), -1);
}

TEST_F(variant_bag, what_cannot_be_written_leaves_what_is_there) {
    ASSERT_TRUE(save({}));
    const auto former = read_file(file);
    for (const wchar_t* const name : {L"", L"1a", L"a b", L"a>", L"\u00e9"}) {
        variant_bag_t bad;
        bad.put(name, 1);
        EXPECT_FALSE(save(bad) || save({}, name));
    }
    variant_bag_t bad;
    bad.add_bag(L"nested").put(L"text", std::wstring(L"a\0b", 3));
    EXPECT_FALSE(save(bad));
    EXPECT_EQ(read_file(file), former);
    fs::remove(file);
    EXPECT_FALSE(save_variant_bag2({}, wide(file / "in a missing folder"), L"bag"));
    fs::create_directories(file / "inside");
    EXPECT_FALSE(save({}));
    EXPECT_EQ(load(true), 0);
    EXPECT_EQ(std::distance(fs::directory_iterator(profile.folder()), {}), 2) << "a draft is left";
}

TEST_F(last_active_dates, a_regular_user_began_less_than_a_year_ago) {
    const std::tuple<std::size_t, active_date_t, active_date_t, bool> cases[] = {
        {3, {2020, 5, 1}, {2020, 5, 5}, false},   {4, {2019, 5, 5}, {2020, 5, 5}, false},
        {4, {2019, 5, 6}, {2020, 5, 5}, true},    {9, {2019, 4, 30}, {2020, 5, 5}, false},
        {9, {2018, 12, 31}, {2020, 5, 5}, false}, {9, {2019, 2, 28}, {2020, 2, 29}, false},
        {9, {2019, 3, 1}, {2020, 2, 29}, true},
    };
    for (const auto& [count, first, day, is_regular] : cases)
        EXPECT_EQ(is_new_regular_user(count, first, day), is_regular) << count << item(first) << item(day);
}

TEST_F(last_active_dates, the_stored_order_is_kept_bad_items_are_skipped_and_the_first_day_counts) {
    const std::string bad =
        "<item/><item><Y type=\"int\">1</Y><M type=\"int\">1</M><D type=\"int\">1x</D></item><item><Y>2</Y>"
        "<M>2</M><D>2</D></item><other><Y type=\"int\">3</Y><M type=\"int\">3</M>"
        "<D type=\"int\">3</D></other>";
    for (const auto& [first, second] : {std::pair(today, old), std::pair(old, today)}) {
        write_file(file, "<bag>" + item(first) + bad + item(second) + item({2015, 1, 1}) + "</bag>");
        last_active_dates_t dates(path);
        EXPECT_FALSE(dates.is_new_regular_user());
        dates.add_today();
        EXPECT_EQ(dates.is_new_regular_user(), first == today);
        EXPECT_TRUE(dates.save());
        EXPECT_EQ(stored(), (std::vector<active_date_t>{first, second, {2015, 1, 1}, today}));
    }
}

TEST_F(last_active_dates, a_day_is_added_once_and_nothing_new_rewrites_nothing) {
    for (int object = 0; object < 2; ++object) {
        last_active_dates_t dates(path);
        dates.add_today();
        dates.add_today();
        EXPECT_EQ(dates.save(), object == 0);
    }
    EXPECT_EQ(stored(), std::vector<active_date_t>{today});
    for (const std::string& content : {std::string("malformed"), "<bag>" + item(old) + "</bag>"}) {
        write_file(file, content);
        { EXPECT_FALSE(last_active_dates_t(path).save()); }
        EXPECT_EQ(read_file(file), content) << "rewritten though nothing was added";
    }
}

TEST_F(last_active_dates, a_long_lived_process_records_each_day_and_answers_by_it) {
    static std::int64_t day = 0;
    day = 16860;
    const active_date_t first{2015, 3, 1};
    write_file(file, "<bag>" + item(first) + item(first) + "</bag>");
    last_active_dates_t dates(path, [] { return day; });
    dates.add_today();
    EXPECT_FALSE(dates.is_new_regular_user()) << "three days";
    ++day;
    for (int report = 0; report < 2; ++report)
        dates.add_today();
    EXPECT_FALSE(dates.is_new_regular_user()) << "a year has passed";
    --day;
    EXPECT_TRUE(dates.is_new_regular_user()) << "one day less";
    EXPECT_TRUE(dates.save());
    EXPECT_EQ(stored(), (std::vector<active_date_t>{first, first, {2016, 2, 29}, {2016, 3, 1}}));
}

TEST_F(last_active_dates, a_store_whose_lock_is_held_starts_empty) {
    write_file(file, "<bag>" + item(old) + "</bag>");
    filelock_t other(wide(file));
    ASSERT_TRUE(other.lock());
    last_active_dates_t dates(path);
    dates.add_today();
    EXPECT_FALSE(dates.save());
    EXPECT_EQ(stored(), std::vector<active_date_t>{old});
    other.unlock();
    EXPECT_TRUE(dates.save());
    EXPECT_EQ(stored(), std::vector<active_date_t>{today});
}

TEST_F(last_active_dates, a_save_that_fails_releases_the_lock) {
    fs::create_directories(file / "in the way");
    last_active_dates_t dates(path);
    dates.add_today();
    EXPECT_FALSE(dates.save());
    EXPECT_FALSE(fs::exists(profile.folder() / "last_active_dates.lock"));
}
