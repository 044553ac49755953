// The layout of diagnostic lines.
#include "foundations/trace.h"

#include "support/log_capture.h"

#include <gtest/gtest.h>
#include <stdexcept>

using namespace test_support;
using texts_t = std::vector<std::string>;

namespace {

const OSTREL_NAMESPACE::component_logger_t trace_log(L"ostrel.test");
constexpr int line_of_scope = __LINE__ + 3;

void traced(bool fails) {
    OSTREL_TRACE_CALL(trace_log, L"void traced(bool)");
    if (fails)
        throw std::runtime_error("on the way");
    OSTREL_LOG(trace_log, trace, L"Return 'false' - a reason");
}

} // namespace

TEST(trace, entry_and_exit_enclose_the_reason_and_name_the_line_of_the_scope) {
    const log_capture_t capture("ostrel.test");
    traced(false);
    EXPECT_EQ(capture.texts(),
              (texts_t{"ENTER: void traced(bool)", "Return 'false' - a reason", "EXIT:  void traced(bool)"}));
    for (const log_line_t& line : capture.lines())
        EXPECT_TRUE(line.level == 0 && line.file == __FILE__);
    EXPECT_EQ(capture.lines()[0].line, line_of_scope);
    EXPECT_EQ(capture.lines()[1].line, line_of_scope + 3);
    EXPECT_EQ(capture.lines()[2].line, line_of_scope);
}

TEST(trace, an_exception_still_leaves_through_the_exit_line) {
    const log_capture_t capture("ostrel.test");
    EXPECT_THROW(traced(true), std::runtime_error);
    EXPECT_EQ(capture.texts(), (texts_t{"ENTER: void traced(bool)", "EXIT:  void traced(bool)"}));
}

TEST(trace, a_level_that_is_off_writes_and_builds_nothing) {
    const log_capture_t capture("ostrel.test", 20000);
    int built = 0;
    traced(false);
    EXPECT_THROW(traced(true), std::runtime_error);
    OSTREL_LOG(trace_log, trace, L"built " << ++built);
    OSTREL_LOG(trace_log, info, L"return: count = " << built);
    EXPECT_EQ(capture.texts(), (texts_t{"return: count = 0"}));
    EXPECT_EQ(capture.lines()[0].level, 20000);
}

TEST(trace, a_failure_names_its_place_in_the_source) {
    const log_capture_t capture("ostrel.test", 40000);
    const int line = __LINE__ + 1;
    OSTREL_LOG_ERROR(trace_log, L"Failed to find it: " << -5);
    const std::string place = std::string(__FILE__) + ":" + std::to_string(line);
    ASSERT_EQ(capture.texts(), (texts_t{"Failed to find it: -5, at file: " + place}));
    EXPECT_EQ(capture.lines()[0].level, 40000);
    EXPECT_EQ(capture.lines()[0].file + ":" + std::to_string(capture.lines()[0].line), place);
}

TEST(trace, pieces_of_all_kinds_arrive_as_utf_8) {
    const log_capture_t capture("ostrel.test");
    OSTREL_LOG(trace_log, info,
               L"caf\u00e9 \u4e2d" << " \xE9 " << 18446744073709551615U << true << std::wstring(L"."));
    EXPECT_EQ(capture.texts(), (texts_t{"caf\xC3\xA9 \xE4\xB8\xAD \xC3\xA9 184467440737095516151."}));
}
