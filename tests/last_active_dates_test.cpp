// The days of use.
#include "statistic_impl/last_active_dates.h"

#include "ostrel/filelock.h"
#include "support/profile.h"
#include "toolkit/kiln2/variant_bag.h"

#include <chrono>
#include <gtest/gtest.h>
#include <thread>

using namespace test_support;
using namespace OSTREL_NAMESPACE;

namespace {

std::string item(const active_date_t& date) {
    return "<item><Y type=\"int\">" + std::to_string(date.year) + "</Y><M type=\"int\">" +
           std::to_string(date.month) + "</M><D type=\"int\">" + std::to_string(date.day) + "</D></item>";
}

std::string text_of(const active_date_t& date) {
    return std::to_string(date.year) + "-" + std::to_string(date.month) + "-" + std::to_string(date.day);
}

class last_active_dates : public testing::Test {
protected:
    std::vector<std::string> stored() const {
        kiln2::variant_bag_t bag;
        std::vector<std::string> dates;
        if (kiln2::load_variant_bag2(bag, wide(file), L"bag", false) == 1)
            for (const auto& [name, entry] : bag.bags())
                dates.push_back(text_of({std::get<int>(entry.get(L"Y")), std::get<int>(entry.get(L"M")),
                                         std::get<int>(entry.get(L"D"))}));
        return dates;
    }

    const temporary_folder_t folder;
    const kiln2::path_t path{wide(folder.path())};
    const std::filesystem::path file = folder.path() / "last_active_dates.xml";
    const std::string today = text_of(last_active_dates_t::today());
};

} // namespace

TEST_F(last_active_dates, a_regular_user_began_less_than_a_year_ago) {
    const struct {
        std::size_t count;
        active_date_t first;
        active_date_t today;
        bool is_regular;
    } cases[] = {
        {0, {}, {2020, 5, 5}, false},
        {3, {2020, 5, 1}, {2020, 5, 5}, false},
        {4, {2019, 5, 5}, {2020, 5, 5}, false},
        {4, {2019, 5, 6}, {2020, 5, 5}, true},
        {9, {2019, 6, 1}, {2020, 5, 5}, true},
        {9, {2019, 4, 30}, {2020, 5, 5}, false},
        {9, {2018, 12, 31}, {2020, 5, 5}, false},
        {9, {2020, 1, 1}, {2020, 5, 5}, true},
        {9, {2019, 2, 28}, {2020, 2, 29}, false},
        {9, {2019, 3, 1}, {2020, 2, 29}, true},
    };
    for (const auto& expected : cases)
        EXPECT_EQ(is_new_regular_user(expected.count, expected.first, expected.today), expected.is_regular)
            << expected.count << ": " << text_of(expected.first) << ", " << text_of(expected.today);
}

TEST_F(last_active_dates, the_stored_order_is_kept_bad_items_are_skipped_and_the_first_day_counts) {
    const active_date_t recent = last_active_dates_t::today();
    const std::string bad = "<item/><item><Y type=\"int\">1</Y><M type=\"int\">1</M></item><item><Y>2</Y>"
                            "<M>2</M><D>2</D></item><other><Y type=\"int\">3</Y><M type=\"int\">3</M>"
                            "<D type=\"int\">3</D></other>";
    for (const bool recent_first : {true, false}) {
        const active_date_t first = recent_first ? recent : active_date_t{2014, 7, 2};
        const active_date_t second = recent_first ? active_date_t{2014, 7, 2} : recent;
        write_file(file, "<bag>" + bad + item(first) + bad + item(second) + item({2015, 1, 1}) + "</bag>");
        last_active_dates_t dates(path);
        EXPECT_FALSE(dates.is_new_regular_user());
        dates.add_today();
        EXPECT_EQ(dates.is_new_regular_user(), recent_first);
        EXPECT_TRUE(dates.save());
        EXPECT_EQ(stored(), (std::vector<std::string>{text_of(first), text_of(second), "2015-1-1", today}));
    }
}

TEST_F(last_active_dates, a_day_is_added_once_also_by_many_threads) {
    {
        last_active_dates_t dates(path);
        std::vector<std::thread> threads;
        for (int i = 0; i < 8; ++i)
            threads.emplace_back([&dates] {
                for (int round = 0; round < 1000; ++round) {
                    dates.add_today();
                    dates.is_new_regular_user();
                }
            });
        for (std::thread& thread : threads)
            thread.join();
    }
    EXPECT_EQ(stored(), (std::vector<std::string>{today}));
    {
        last_active_dates_t later(path);
        later.add_today();
        EXPECT_FALSE(later.save());
    }
    EXPECT_EQ(stored(), (std::vector<std::string>{today}));
}

TEST_F(last_active_dates, an_unchanged_store_never_rewrites_its_file) {
    for (const std::string& content : {std::string("malformed"), "<bag>" + item({2014, 7, 2}) + "</bag>"}) {
        write_file(file, content);
        { EXPECT_FALSE(last_active_dates_t(path).save()); }
        EXPECT_EQ(read_file(file), content);
    }
    std::filesystem::remove(file);
    { const last_active_dates_t dates(path); }
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(last_active_dates, a_store_whose_lock_is_held_waits_a_second_and_starts_empty) {
    write_file(file, "<bag>" + item({2014, 7, 2}) + "</bag>");
    filelock_t other(wide(file));
    ASSERT_TRUE(other.lock());
    const auto begin = std::chrono::steady_clock::now();
    last_active_dates_t dates(path);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
    dates.add_today();
    EXPECT_FALSE(dates.save());
    EXPECT_EQ(stored(), (std::vector<std::string>{"2014-7-2"}));
    other.unlock();
    EXPECT_TRUE(dates.save());
    EXPECT_EQ(stored(), (std::vector<std::string>{today}));
}
