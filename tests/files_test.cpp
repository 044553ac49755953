// The files that the library keeps: bags in XML, and the days of use.
#include "ostrel/filelock.h"
#include "statistic_impl/last_active_dates.h"
#include "support/profile.h"
#include "toolkit/kiln2/variant_bag.h"

using namespace test_support;
using namespace testing;
using namespace OSTREL_NAMESPACE;
using kiln2::save_variant_bag2;
using kiln2::variant_bag_t;

namespace {

std::string nested(int depth) {
    std::string text;
    for (int i = 1; i < depth; ++i)
        text = "<b>" + text + "</b>";
    return "<bag>" + text + "</bag>";
}

struct variant_bag : Test {
    int load(bool optional = false) { return load_variant_bag2(bag, wide(file), L"bag", optional); }
    bool save(const variant_bag_t& saved) const { return save_variant_bag2(saved, wide(file), L"bag"); }

    const profile_t profile;
    const fs::path file = profile.folder() / fs::u8path(u8"b\u00e4g.xml");
    variant_bag_t bag;
};

constexpr std::int64_t july_2014 = 16253, march_2015 = 16495, february_29 = 16860; // days since 1970
std::int64_t day_number;

struct last_active_dates : Test {
    last_active_dates() { day_number = february_29; }
    static std::int64_t clock() { return day_number; }
    /// Stores these days in a new file. The test's current day does not change.
    void store(const std::vector<std::int64_t>& days) {
        last_active_dates_t dates(folder, &clock);
        const std::int64_t today = day_number;
        for (const std::int64_t day : days) {
            day_number = day;
            dates.add_today();
        }
        day_number = today;
    }
    std::vector<active_date_t> stored() const { return stored_active_dates(wide(file)).value(); }

    const profile_t profile;
    const kiln2::path_t folder{wide(profile.folder())};
    const fs::path file = profile.folder() / "last_active_dates.xml";
};

} // namespace

TEST_F(variant_bag, saved_values_load_unchanged) {
    variant_bag_t saved;
    saved.put(L"least", -2147483647 - 1);
    saved.put(L"nothing", {});
    for (const wchar_t* const text :
         {L"", L" ", L"\n", L" a\tb\r\nc\r ", L"<&>\"']]>", L"\x01\x1F\x7F", L"caf\u00e9 \u4e2d \U0001F600"})
        saved.add_bag(L"item").put(L"text", text);
    write_file(fs::path(file) += ".tmp", std::string(10000, '<')); // left by a killed writer
    ASSERT_TRUE(save(saved));
    EXPECT_FALSE(fs::exists(fs::path(file) += ".tmp"));
    ASSERT_EQ(load(), 1);
    EXPECT_EQ(bag.values(), saved.values());
    ASSERT_EQ(bag.bags().size(), saved.bags().size());
    for (std::size_t i = 0; i < saved.bags().size(); ++i)
        EXPECT_EQ(bag.bags()[i].second.values(), saved.bags()[i].second.values()) << i;
}

TEST_F(variant_bag, a_missing_or_malformed_file_leaves_the_bag_empty) {
    const std::string whole = "<bag><item><Y type=\"int\">1</Y></item><name>n</name></bag>";
    texts_t malformed{"",       std::string(1, '\0'), "\x89PNG\r\n\x1A\n", "<other/>",
                      "<Bag/>", nested(65),           nested(5000),        std::string(200000, '<')};
    for (std::size_t length = 1; length < whole.size(); length += 5)
        malformed.push_back(whole.substr(0, length));
    bag.put(L"former", 1);
    EXPECT_EQ(load(), 0);
    EXPECT_THAT(bag.values(), IsEmpty());
    EXPECT_EQ(load(true), 1);
    for (const std::string& content : malformed) {
        SCOPED_TRACE(content.substr(0, 60));
        write_file(file, content);
        bag.put(L"former", 1);
        EXPECT_EQ(load(), -1);
        EXPECT_THAT(bag.values(), IsEmpty());
        EXPECT_THAT(bag.bags(), IsEmpty());
    }
    for (const std::string& content : {whole, nested(64), std::string("<bag/>")}) {
        write_file(file, content);
        EXPECT_EQ(load(), 1) << content.substr(0, 60);
    }
    fs::resize_file(file, (std::uintmax_t{64} << 20) + 1);
    EXPECT_EQ(load(), -1);
}

TEST_F(variant_bag, a_bag_that_cannot_be_written_leaves_the_file_as_it_was) {
    ASSERT_TRUE(save({}));
    const auto former = read_file(file);
    for (const wchar_t* const name : {L"", L"1a", L"a b", L"a>", L"\u00e9"}) {
        SCOPED_TRACE(PrintToString(name));
        variant_bag_t bad;
        bad.put(name, 1);
        EXPECT_FALSE(save(bad));
        EXPECT_FALSE(save_variant_bag2({}, wide(file), name));
    }
    bag.add_bag(L"nested").put(L"text", std::wstring(L"a\0b", 3));
    EXPECT_FALSE(save(bag));
    EXPECT_EQ(read_file(file), former);
    fs::remove(file);
    EXPECT_FALSE(save_variant_bag2({}, wide(file / "in a missing folder"), L"bag"));
    fs::create_directories(file / "inside");
    EXPECT_FALSE(save({}));
    EXPECT_EQ(load(true), 0);
    EXPECT_THAT(contents(profile.folder()), SizeIs(3)) << "a temporary file is left";
}

TEST_F(last_active_dates, a_regular_user_has_four_days_and_the_first_within_a_year) {
    const std::tuple<std::size_t, active_date_t, active_date_t, bool> cases[] = {
        {3, {2020, 5, 1}, {2020, 5, 5}, false},   {4, {2019, 5, 5}, {2020, 5, 5}, false},
        {4, {2019, 5, 6}, {2020, 5, 5}, true},    {9, {2018, 12, 31}, {2020, 5, 5}, false},
        {9, {2019, 2, 28}, {2020, 2, 29}, false}, {9, {2019, 3, 1}, {2020, 2, 29}, true}};
    for (const auto& [count, first, day, is_regular] : cases)
        EXPECT_EQ(is_new_regular_user(count, first, day), is_regular)
            << count << " days since " << first.year << "-" << first.month << "-" << first.day;
}

TEST_F(last_active_dates, malformed_items_are_skipped_and_the_stored_order_is_kept) {
    const std::string day = "<Y type=\"int\">2016</Y><M type=\"int\">3</M><D type=\"int\">1";
    const std::string early = "<Y type=\"int\">2014</Y><M type=\"int\">7</M><D type=\"int\">2</D></item>";
    write_file(file, "<bag><item>" + day + "</D></item><item/><item>" + day +
                         "x</D></item><item><Y>2</Y><M>2</M><D>2</D></item><other>" + day +
                         "</D></other><item>" + early + "</bag>");
    last_active_dates_t dates(folder, &clock);
    dates.add_today();
    EXPECT_TRUE(dates.save());
    EXPECT_THAT(stored(), ElementsAre(FieldsAre(2016, 3, 1), FieldsAre(2014, 7, 2), FieldsAre(2016, 2, 29)));
}

TEST_F(last_active_dates, saving_without_a_new_day_does_not_rewrite_the_file) {
    EXPECT_FALSE(last_active_dates_t(folder, &clock).save());
    for (const char* const content : {"malformed", "<bag/>"}) {
        SCOPED_TRACE(content);
        write_file(file, content);
        EXPECT_FALSE(last_active_dates_t(folder, &clock).save());
        EXPECT_EQ(read_file(file), content);
    }
    store({february_29});
    last_active_dates_t dates(folder, &clock);
    dates.add_today();
    EXPECT_FALSE(dates.save());
}

TEST_F(last_active_dates, a_long_lived_process_records_each_day_once) {
    store({march_2015, july_2014});
    last_active_dates_t dates(folder, &clock);
    dates.add_today();
    EXPECT_FALSE(dates.is_new_regular_user()) << "three days";
    ++day_number;
    dates.add_today();
    dates.add_today();
    EXPECT_FALSE(dates.is_new_regular_user()) << "a year has passed since the first stored day";
    --day_number;
    EXPECT_TRUE(dates.is_new_regular_user());
    EXPECT_TRUE(dates.save());
    EXPECT_THAT(stored(), ElementsAre(FieldsAre(2015, 3, 1), FieldsAre(2014, 7, 2), FieldsAre(2016, 2, 29),
                                      FieldsAre(2016, 3, 1)));
}

TEST_F(last_active_dates, a_held_lock_hides_the_stored_days_and_prevents_saving) {
    store({july_2014});
    filelock_t other(wide(file));
    ASSERT_TRUE(other.lock());
    last_active_dates_t dates(folder, &clock);
    dates.add_today();
    EXPECT_FALSE(dates.save());
    EXPECT_THAT(stored(), ElementsAre(FieldsAre(2014, 7, 2)));
    other.unlock();
    fs::remove(file);
    fs::create_directories(file / "in the way");
    EXPECT_FALSE(dates.save());
    fs::remove_all(file);
    EXPECT_TRUE(dates.save()) << "the failed save kept the lock";
    EXPECT_THAT(stored(), ElementsAre(FieldsAre(2016, 2, 29)));
}
