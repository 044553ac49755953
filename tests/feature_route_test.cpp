// Which event a feature name becomes.
#include "statistic_impl_ga/feature_route.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace OSTREL_NAMESPACE;

TEST(feature_route, the_longest_enabled_prefix_wins_and_run_needs_no_filter) {
    const std::wstring dropped = L"-";
    const struct {
        std::wstring feature;
        event_set_t enabled;
        std::wstring category;
        std::wstring label;
    } cases[] = {
        {L"a.b.c", {L"a"}, L"a", L"b.c"},
        {L"a.b.c", {L"a.b.c"}, L"a.b.c", L""},
        {L"a.b.c", {L"a", L"a.b"}, L"a.b", L"c"},
        {L"a.b.c", {L"a", L"a.b", L"a.b.c"}, L"a.b.c", L""},
        {L"a", {L"a"}, L"a", L""},
        {L"a.", {L"a"}, L"a", L""},
        {L"a..b", {L"a"}, L"a", L".b"},
        {L"a..b", {L"a", L"a."}, L"a.", L"b"},
        {L".b", {L""}, L"", L"b"},
        {L"a.bc", {L"a.b"}, dropped, L""},
        {L"a", {L"a.b"}, dropped, L""},
        {L"A.b", {L"a"}, dropped, L""},
        {L"b.a", {L"a"}, dropped, L""},
        {L"\u00e9.\u4e2d", {L"\u00e9"}, L"\u00e9", L"\u4e2d"},
        {L"run.start", {}, L"run", L"start"},
        {L"run.", {}, L"run", L""},
        {L"run.start", {L"run.start"}, L"run.start", L""},
        {L"run.a.b", {L"run"}, L"run", L"a.b"},
        {L"run.a.b", {L"run.a"}, L"run.a", L"b"},
        {L"run", {L"run"}, L"run", L""},
        {L"run.a.b", {}, dropped, L""},
        {L"run..", {}, dropped, L""},
        {L"run", {}, dropped, L""},
        {L"runner.x", {}, dropped, L""},
        {L"Run.x", {}, dropped, L""},
        {L"x.run.y", {}, dropped, L""},
        {L".", {}, dropped, L""},
        {L"", {}, dropped, L""},
    };
    for (const auto& [feature, enabled, category, label] : cases) {
        const auto route = route_feature(feature, enabled).value_or(route_t{dropped, {}});
        EXPECT_EQ(route.category, category) << testing::PrintToString(feature);
        EXPECT_EQ(route.label, label) << testing::PrintToString(feature);
    }
}

TEST(feature_route, crowded_filters_route_as_trying_every_prefix_does) {
    std::vector<std::wstring> texts{L""};
    for (std::size_t at = 0; at < texts.size() && texts.size() < 800; ++at)
        for (const wchar_t unit : {L'.', L'a', L'b'})
            texts.push_back(texts[at] + unit);
    for (std::size_t step = 1; step < 60; ++step) {
        event_set_t enabled;
        for (std::size_t at = step % 7; at < texts.size(); at += step)
            enabled.insert(texts[at]);
        for (const std::wstring& feature : texts) {
            std::size_t cut = feature.size();
            while (cut != std::wstring::npos && enabled.count(feature.substr(0, cut)) == 0)
                cut = cut == 0 ? std::wstring::npos : feature.rfind(L'.', cut - 1);
            const auto route = route_feature(feature, enabled);
            ASSERT_EQ(route ? route->category.size() : std::wstring::npos, cut)
                << testing::PrintToString(feature) << " in every name number " << step;
        }
    }
}
