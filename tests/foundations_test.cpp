// Date-times, locks between processes, and the layout of diagnostic lines.
#include "foundations/trace.h"
#include "kiln2/path.h"
#include "ostrel/datetime.h"
#include "ostrel/filelock.h"
#include "support/log_capture.h"
#include "support/profile.h"

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <optional>

using namespace test_support;
using OSTREL_NAMESPACE::datetime_t;
using OSTREL_NAMESPACE::filelock_t;

namespace {

const OSTREL_NAMESPACE::component_logger_t trace_log(L"ostrel.test");

void traced(bool fails) {
    OSTREL_TRACE_CALL(trace_log, L"void traced(bool)");
    if (fails)
        throw std::runtime_error("on the way");
    OSTREL_LOG(trace_log, trace, L"Return 'false' - a reason");
}

std::optional<std::chrono::steady_clock::time_point> exit_start;

/// Ends the process in the middle of a log call, which therefore never returns.
struct exiting_appender_t : log4cplus::Appender {
    ~exiting_appender_t() override { destructorImpl(); }
    void close() override { closed = true; }
    void append(const log4cplus::spi::InternalLoggingEvent& /*event*/) override {
        exit_start = std::chrono::steady_clock::now();
        std::exit(1);
    }
};

void exit_while_logging() {
    auto logger = log4cplus::Logger::getInstance(LOG4CPLUS_TEXT("ostrel.test"));
    logger.addAppender(log4cplus::SharedAppenderPtr(new exiting_appender_t));
    OSTREL_LOG(trace_log, error, L"the last line");
}

/// Made first and destroyed last. Turns what the exit of that process did into its status.
struct exit_check_t {
    ~exit_check_t() {
        using namespace std::chrono_literals;
        if (!exit_start)
            return;
        const auto waited = std::chrono::steady_clock::now() - *exit_start;
        const bool must_wait =
            fs::path::preferred_separator == '/'; // on Windows no thread is left to wait for
        const bool is_closed = !trace_log.is_enabled_for(OSTREL_NAMESPACE::log_level_t::error);
        std::_Exit(!is_closed ? 2 : waited > 900ms ? 3 : must_wait && waited < 50ms ? 4 : 7);
    }
};
__attribute__((init_priority(101))) const exit_check_t exit_check;

} // namespace

TEST(path, separators_are_the_preferred_ones_and_an_empty_path_adds_nothing) {
    using kiln2::path_t;
    const std::wstring joined = fs::path(L"a/b").make_preferred().wstring();
    EXPECT_EQ(path_t(std::wstring(L"a/b")).as_string(), joined);
    for (const wchar_t* const second : {L"b", L"/b"})
        EXPECT_EQ(path_t(std::wstring(L"a")).append(std::wstring(second)).as_string(), joined);
    for (const wchar_t* const text : {L"", L"a", L"a\\b\xD800"})
        EXPECT_EQ(path_t(std::wstring(text)).append(path_t()).as_string(), text);
}

TEST(datetime, texts_are_read_as_leniently_as_ever) {
    const std::wstring invalid = L"1900-01-00T00:00:00Z";
    const std::pair<std::wstring, std::wstring> cases[] = {
        {L"3000-12-31T23:59:59Z", L"3000-12-31T23:59:59Z"},
        {L"2016-05-04T03:02:01", L"2016-05-04T03:02:01Z"},
        {L" 2016- 1-+2T3:4: 5Z", L"2016-01-02T03:04:05Z"},
        {L"2016-13-01T00:00:00Z", L"2017-01-01T00:00:00Z"},
        {L"2016-02-30T00:00:00Z", L"2016-03-01T00:00:00Z"},
        {L"1970-01-02T00:00:-1Z", L"1970-01-01T23:59:59Z"},
        {L"1969-12-31T23:59:58Z", invalid},
        {L"3001-01-01T00:00:00Z", invalid},
        {L"3000-12-31T23:59:60Z", invalid},
        {L"3000-12-31T24:00:00Z", invalid},
        {L"3000-12-32T00:00:00Z", invalid},
        {L"3001-00-32T00:00:00Z", invalid},
        {L"2016-05-04T03:02:01Z ", invalid},
        {L"2016-05-04 03:02:01Z", invalid},
        {L"2016-05-04T03:02Z", invalid},
        {L"", invalid},
    };
    for (const auto& [text, moment] : cases) {
        EXPECT_EQ(datetime_t::parse(text).as_string(), moment) << std::string(text.begin(), text.end());
        EXPECT_EQ(datetime_t::parse(text).is_valid(), moment != invalid);
        EXPECT_EQ(datetime_t::parse(text) == datetime_t(), moment == invalid);
    }
}

TEST(datetime, moments_compare_by_what_they_stand_for) {
    const datetime_t none;
    const datetime_t epoch = datetime_t::parse(L"1970-01-01T00:00:00Z");
    const datetime_t later = datetime_t::parse(L"2016-02-30T00:00:00Z");
    const datetime_t same = datetime_t::parse(L"2016-03-01T00:00:00Z");
    EXPECT_TRUE(none < epoch && epoch < later && later > epoch && later == same && later != epoch);
    EXPECT_FALSE(epoch < none || none > epoch || later > same || later < same || later != same ||
                 later == epoch);
}

TEST(datetime, now_is_the_system_clock_in_utc) {
    const auto clock = [] {
        wchar_t text[32];
        const std::time_t seconds = std::time(nullptr);
        return std::wstring(text, std::wcsftime(text, 32, L"%Y-%m-%dT%H:%M:%SZ", std::gmtime(&seconds)));
    };
    const std::wstring before = clock();
    const std::wstring now = datetime_t::now().as_string();
    EXPECT_TRUE(before <= now && now <= clock());
}

TEST(datetime, only_a_readable_file_has_a_time) {
    const profile_t profile;
    const fs::path file = profile.folder() / fs::u8path(u8"\u00e9 \u4e2d.txt");
    EXPECT_FALSE(datetime_t::file_time(wide(file)).is_valid());
    EXPECT_FALSE(datetime_t::file_time(wide(profile.folder())).is_valid());
    write_file(file, "");
    EXPECT_TRUE(datetime_t::file_time(wide(file)).is_valid());
}

TEST(filelock, one_of_two_holds_the_lock_until_it_lets_go_and_a_copy_believes_that_it_does_too) {
    const profile_t profile;
    const fs::path data = profile.folder() / "data.xml", companion = profile.folder() / "data.lock";
    {
        filelock_t first(wide(data)), second(wide(data));
        EXPECT_FALSE(first.is_locked() || fs::exists(companion));
        EXPECT_TRUE(first.lock() && first.lock() && first.is_locked());
        EXPECT_EQ(read_file(companion), "");
        EXPECT_FALSE(second.lock() || second.is_locked());
        second.unlock();
        EXPECT_TRUE(fs::exists(companion));
        filelock_t copy(first);
        first.unlock();
        EXPECT_FALSE(first.is_locked() || fs::exists(companion) || fs::exists(data));
        EXPECT_TRUE(copy.is_locked() && copy.lock());
        EXPECT_TRUE(second.lock());
        first = second;
        EXPECT_TRUE(first.is_locked());
    }
    EXPECT_FALSE(fs::exists(companion));
    write_file(companion, "left by a process that crashed");
    { EXPECT_FALSE(filelock_t(wide(data)).lock()); }
    EXPECT_EQ(read_file(companion), "left by a process that crashed");
    EXPECT_FALSE(filelock_t(wide(profile.folder() / "missing" / "data.xml")).lock());
}

TEST(trace, scopes_are_enclosed_also_on_the_way_of_an_exception_and_levels_that_are_off_build_nothing) {
    log_capture_t capture("ostrel.test");
    traced(false);
    EXPECT_THROW(traced(true), std::runtime_error);
    EXPECT_EQ(capture.texts(),
              (texts_t{"ENTER: void traced(bool)", "Return 'false' - a reason", "EXIT:  void traced(bool)",
                       "ENTER: void traced(bool)", "EXIT:  void traced(bool)"}));
    const log_capture_t coarse("ostrel.test", 20000);
    int built = 0;
    traced(false);
    OSTREL_LOG(trace_log, trace, L"built " << ++built);
    OSTREL_LOG(trace_log, info, L"\u00e9 " << "\xE9" << 18446744073709551615U << true << built);
    EXPECT_EQ(coarse.texts(), texts_t{"\u00e9 \u00e9" + std::string("1844674407370955161510")});
}

TEST(trace, a_line_is_built_only_if_an_appender_of_the_logger_or_an_ancestor_receives_it) {
    int built = 0;
    const auto log_one = [&built] { OSTREL_LOG(trace_log, info, L"built " << ++built); };
    log_one();
    EXPECT_EQ(built, 0) << "nobody listens";
    auto own = log4cplus::Logger::getInstance(LOG4CPLUS_TEXT("ostrel.test"));
    for (const char* const listener : {"ostrel.test", "ostrel", ""}) { // the root has no name
        SCOPED_TRACE(listener);
        const log_capture_t capture(listener);
        log_one();
        EXPECT_EQ(capture.lines().size(), 1U);
        own.setAdditivity(false);
        log_one();
        own.setAdditivity(true);
        EXPECT_EQ(capture.lines().size(), *listener == 'o' && listener[6] != '\0' ? 2U : 1U);
    }
    EXPECT_EQ(built, 4);
}

TEST(trace, exit_closes_the_log_and_waits_briefly_for_a_log_call_that_never_returns) {
    testing::FLAGS_gtest_death_test_style = "threadsafe"; // log4cplus has threads
    EXPECT_EXIT(exit_while_logging(), testing::ExitedWithCode(7), "");
}
