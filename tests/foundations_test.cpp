// Paths, date-times, locks between processes, and diagnostic lines.
#include "foundations/trace.h"
#include "kiln2/path.h"
#include "ostrel/datetime.h"
#include "ostrel/filelock.h"
#include "support/log_capture.h"
#include "support/profile.h"

using namespace test_support;
using namespace testing;
using OSTREL_NAMESPACE::datetime_t;
using OSTREL_NAMESPACE::filelock_t;

namespace {

const OSTREL_NAMESPACE::component_logger_t trace_log(L"ostrel.test");

void call_traced(bool fails) {
    OSTREL_TRACE_CALL(trace_log, L"void f(bool)");
    if (fails)
        throw std::runtime_error("failed");
    OSTREL_LOG(trace_log, trace, L"Return 'false' - a reason");
}

std::optional<std::chrono::steady_clock::time_point> exit_start;

/// Ends the process inside a log call, which therefore never returns.
void exit_while_logging() {
    log_capture_t capture("ostrel.test");
    capture.on_line([] {
        exit_start = std::chrono::steady_clock::now();
        std::exit(1);
    });
    OSTREL_LOG(trace_log, error, L"the last line");
}

/// Registers an exit handler that runs after the library's. It exits with 7 if its checks pass.
[[gnu::constructor(101)]] void register_exit_check() {
    std::atexit([] {
        using namespace std::chrono_literals;
        if (!exit_start)
            return;
        const auto waited = std::chrono::steady_clock::now() - *exit_start;
        const bool must_wait = fs::path::preferred_separator == '/'; // Windows has ended all other threads
        const bool is_closed = !trace_log.is_enabled_for(OSTREL_NAMESPACE::log_level_t::error);
        std::_Exit(!is_closed ? 2 : waited > 900ms ? 3 : must_wait && waited < 50ms ? 4 : 7);
    });
}

} // namespace

TEST(path, separators_become_preferred_and_an_empty_path_adds_nothing) {
    using kiln2::path_t;
    const std::wstring joined = fs::path(L"a/b").make_preferred().wstring();
    EXPECT_EQ(path_t(std::wstring(L"a/b")).as_string(), joined);
    EXPECT_EQ(path_t(std::wstring(L"a")).append(std::wstring(L"/b")).as_string(), joined);
    EXPECT_EQ(path_t(std::wstring(L"a\\b\xD800")).append(path_t()).as_string(), L"a\\b\xD800");
}

TEST(datetime, dates_of_1970_to_3000_are_parsed_as_leniently_as_with_scanf) {
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"3000-12-31T23:59:59Z", L"3000-12-31T23:59:59Z"},
        {L" 2016- 1-+2T3:4: 5", L"2016-01-02T03:04:05Z"},
        {L"2016-13-01T00:00:00Z", L"2017-01-01T00:00:00Z"},
        {L"2016-02-30T00:00:00Z", L"2016-03-01T00:00:00Z"},
        {L"1970-01-02T00:00:-1Z", L"1970-01-01T23:59:59Z"},
        {L"1969-12-31T23:59:58Z", L""},
        {L"3001-01-01T00:00:00Z", L""},
        {L"3000-12-31T23:59:60Z", L""},
        {L"3000-12-31T24:00:00Z", L""},
        {L"3000-12-32T00:00:00Z", L""},
        {L"3001-00-32T00:00:00Z", L""},
        {L"2016-05-04T03:02:01Z ", L""},
        {L"2016-05-04 03:02:01Z", L""},
        {L"2016-05-04T03:02Z", L""}};
    for (const auto& [text, moment] : cases) {
        SCOPED_TRACE(PrintToString(text));
        const datetime_t parsed = datetime_t::parse(text);
        EXPECT_EQ(parsed.is_valid(), *moment != L'\0');
        EXPECT_EQ(parsed == datetime_t(), *moment == L'\0');
        EXPECT_EQ(parsed.as_string(), *moment != L'\0' ? moment : L"1900-01-00T00:00:00Z");
    }
}

TEST(datetime, the_invalid_value_is_less_than_all_others) {
    const datetime_t sorted[] = {{}, datetime_t::parse(L"1970-01-01T00:00:00Z"), datetime_t::now()};
    for (int i = 0; i < 9; ++i) {
        SCOPED_TRACE(i);
        const datetime_t &left = sorted[i / 3], &right = sorted[i % 3];
        EXPECT_EQ(left < right, i / 3 < i % 3);
        EXPECT_EQ(left > right, i / 3 > i % 3);
        EXPECT_EQ(left == right, i / 3 == i % 3);
        EXPECT_EQ(left != right, i / 3 != i % 3);
    }
}

TEST(datetime, now_is_the_system_clock_in_utc) {
    const auto clock = [] {
        wchar_t text[32];
        const std::time_t seconds = std::time(nullptr);
        return std::wstring(text, std::wcsftime(text, 32, L"%Y-%m-%dT%H:%M:%SZ", std::gmtime(&seconds)));
    };
    const std::wstring before = clock(), now = datetime_t::now().as_string();
    EXPECT_THAT(now, AllOf(Ge(before), Le(clock())));
}

TEST(filelock, a_held_lock_refuses_others_and_a_copy_is_locked_too) {
    const profile_t profile;
    const fs::path data = profile.folder() / "data.xml", file = profile.folder() / "data.lock";
    {
        filelock_t first(wide(data)), second(wide(data));
        EXPECT_TRUE(first.lock());
        EXPECT_FALSE(second.lock());
        second.unlock();
        EXPECT_TRUE(fs::exists(file));
        filelock_t copy(first);
        first.unlock();
        EXPECT_FALSE(first.is_locked());
        EXPECT_TRUE(copy.is_locked());
        EXPECT_TRUE(second.lock());
        first = second;
        EXPECT_TRUE(first.is_locked());
    }
    EXPECT_FALSE(fs::exists(file));
    write_file(file, "left by a crash");
    EXPECT_FALSE(filelock_t(wide(data)).lock());
    EXPECT_EQ(read_file(file), "left by a crash");
    EXPECT_FALSE(filelock_t(wide(profile.folder() / "missing" / "data.xml")).lock());
}

TEST(trace, traced_calls_log_two_lines_and_messages_join_their_parts) {
    const log_capture_t capture("ostrel.test");
    call_traced(false);
    EXPECT_THROW(call_traced(true), std::runtime_error);
    OSTREL_LOG(trace_log, info, L"\u00e9 " << "\xE9" << 18446744073709551615U << true << 0);
    EXPECT_EQ(capture.texts(), traced("void f(bool)", {"Return 'false' - a reason"}) +
                                   traced("void f(bool)") + texts_t{"\u00e9 \u00e91844674407370955161510"});
}

TEST(trace, a_line_is_built_only_if_an_appender_receives_it) {
    int built = 0;
    const auto log_one = [&built] { OSTREL_LOG(trace_log, info, L"built " << ++built); };
    log_one();
    EXPECT_EQ(built, 0) << "nobody listens";
    auto own = log4cplus::Logger::getInstance(LOG4CPLUS_TEXT("ostrel.test"));
    for (const std::string listener : {"ostrel.test", "ostrel", ""}) { // the root has no name
        SCOPED_TRACE(listener);
        const log_capture_t capture(listener);
        log_one();
        own.setAdditivity(false);
        log_one();
        own.setAdditivity(true);
        EXPECT_THAT(capture.texts(), SizeIs(listener == "ostrel.test" ? 2 : 1));
    }
    EXPECT_EQ(built, 4);
    const log_capture_t coarse("ostrel.test", 20000);
    OSTREL_LOG(trace_log, trace, L"built " << ++built);
    EXPECT_EQ(built, 4);
}

TEST(trace, exit_closes_the_log_and_waits_briefly_for_a_stuck_log_call) {
    FLAGS_gtest_death_test_style = "threadsafe"; // log4cplus has threads
    EXPECT_EXIT(exit_while_logging(), ExitedWithCode(7), "");
}
