// Which event a feature name becomes; tests/statistic_test.cpp has the bytes of its hit.
#include "statistic_impl_ga/feature_route.h"

#include <gtest/gtest.h>

using namespace OSTREL_NAMESPACE;

TEST(feature_route, the_longest_enabled_prefix_wins_and_run_needs_no_filter) {
    const std::wstring dropped = L"-";
    const std::tuple<std::wstring, std::vector<std::wstring>, std::wstring, std::wstring> cases[] = {
        {L"a.b.c", {L"a", L"a.b"}, L"a.b", L"c"},
        {L"a..b", {L"a"}, L"a", L".b"},
        {std::wstring(70, L'a') + L".b", {std::wstring(70, L'a')}, std::wstring(70, L'a'), L"b"},
        {L"A.b", {L"a"}, dropped, L""},
        {L"\u00e9.\u4e2d", {L"\u00e9"}, L"\u00e9", L"\u4e2d"},
        {L"run.start", {}, L"run", L"start"},
        {L"run.", {}, L"run", L""},
        {L"run.start", {L"run.start"}, L"run.start", L""},
        {L"run.a.b", {L"run"}, L"run", L"a.b"},
        {L"run.a.b", {}, dropped, L""},
        {L"run", {}, dropped, L""},
    };
    for (const auto& [feature, enabled, category, label] : cases) {
        const auto route = route_feature(feature, enabled).value_or(route_t{dropped, {}});
        EXPECT_EQ(route.category, category) << testing::PrintToString(feature);
        EXPECT_EQ(route.label, label) << testing::PrintToString(feature);
    }
}
