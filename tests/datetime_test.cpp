// The UTC date-time value.
#include "ostrel/datetime.h"

#include "support/profile.h"

#include <ctime>
#include <gtest/gtest.h>

using namespace test_support;
using OSTREL_NAMESPACE::datetime_t;

namespace {

const std::wstring invalid = L"1900-01-00T00:00:00Z";

std::wstring text_of(std::time_t seconds) {
    wchar_t text[32];
    return {text, std::wcsftime(text, 32, L"%Y-%m-%dT%H:%M:%SZ", std::gmtime(&seconds))};
}

} // namespace

TEST(datetime, texts_are_read_as_leniently_as_ever) {
    const struct {
        std::wstring text;
        std::wstring moment;
    } cases[] = {
        {L"1970-01-01T00:00:00Z", L"1970-01-01T00:00:00Z"},
        {L"2016-05-04T03:02:01Z", L"2016-05-04T03:02:01Z"},
        {L"3000-12-31T23:59:59Z", L"3000-12-31T23:59:59Z"},
        {L"2016-05-04T03:02:01", L"2016-05-04T03:02:01Z"},
        {L"2016-1-2T3:4:5Z", L"2016-01-02T03:04:05Z"},
        {L" 2016- 1-+2T3:4: 5Z", L"2016-01-02T03:04:05Z"},
        {L"2016-13-01T00:00:00Z", L"2017-01-01T00:00:00Z"},
        {L"2016-00-01T00:00:00Z", L"2015-12-01T00:00:00Z"},
        {L"2016-02-30T00:00:00Z", L"2016-03-01T00:00:00Z"},
        {L"2016-12-31T23:59:60Z", L"2017-01-01T00:00:00Z"},
        {L"1970-01-02T00:00:-1Z", L"1970-01-01T23:59:59Z"},
        {L"1969-12-31T23:59:59Z", invalid},
        {L"1969-12-31T23:59:58Z", invalid},
        {L"3001-01-01T00:00:00Z", invalid},
        {L"2016-05-04T03:02:01Z ", invalid},
        {L"2016-05-04 03:02:01Z", invalid},
        {L"20160-05-04T03:02:01", invalid},
        {L"2016-05-04T03:02Z", invalid},
        {L"", invalid},
    };
    for (const auto& [text, moment] : cases) {
        EXPECT_EQ(datetime_t::parse(text).as_string(), moment) << std::string(text.begin(), text.end());
        EXPECT_EQ(datetime_t::parse(text).is_valid(), moment != invalid);
    }
}

TEST(datetime, moments_compare_by_what_they_stand_for) {
    const datetime_t none;
    const datetime_t epoch = datetime_t::parse(L"1970-01-01T00:00:00Z");
    const datetime_t later = datetime_t::parse(L"2016-02-30T00:00:00Z");
    EXPECT_TRUE(none < epoch && epoch < later && later > epoch && epoch > none);
    EXPECT_FALSE(epoch < none || later < epoch || epoch > later || none > epoch || later > later);
    EXPECT_TRUE(later == datetime_t::parse(L"2016-03-01T00:00:00Z") && later != epoch);
    EXPECT_FALSE(later != datetime_t::parse(L"2016-03-01T00:00:00Z") || later == epoch);
    EXPECT_TRUE(none == datetime_t::parse(L"nonsense"));
}

TEST(datetime, now_is_the_system_clock_in_utc) {
    const std::wstring before = text_of(std::time(nullptr));
    const datetime_t now = datetime_t::now();
    EXPECT_LE(before, now.as_string());
    EXPECT_LE(now.as_string(), text_of(std::time(nullptr)));
    EXPECT_TRUE(now == datetime_t::parse(now.as_string()));
}

TEST(datetime, only_a_readable_file_has_a_time) {
    const temporary_folder_t folder;
    const auto file = folder.path() / std::filesystem::u8path(u8"\u00e9 \u4e2d.txt");
    EXPECT_FALSE(datetime_t::file_time(wide(file)).is_valid());
    EXPECT_FALSE(datetime_t::file_time(wide(folder.path())).is_valid());
    write_file(file, "");
    const datetime_t today = datetime_t::file_time(wide(file));
    std::filesystem::last_write_time(file, std::filesystem::last_write_time(file) - std::chrono::hours(24));
    const datetime_t yesterday = datetime_t::file_time(wide(file));
    EXPECT_TRUE(yesterday.is_valid() && yesterday < today);
}
