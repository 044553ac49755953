// The event that a feature name becomes, and the text of its hit.
#include "statistic_impl_ga/hit.h"

#include <gtest/gtest.h>

using namespace OSTREL_NAMESPACE;

TEST(feature_route, the_longest_enabled_prefix_wins_and_run_needs_no_filter) {
    const std::wstring dropped = L"-", long_name(70, L'a');
    const std::tuple<std::wstring, std::vector<std::wstring_view>, std::wstring, std::wstring> cases[] = {
        {L"a.b.c", {L"a", L"a.b"}, L"a.b", L"c"},
        {L"a.b.c", {L"a.b", L"a", L"a.b", L"a.b.c.d"}, L"a.b", L"c"},
        {L"a..b", {L"a"}, L"a", L".b"},
        {L"a.", {L"a"}, L"a", L""},
        {L"a.bc", {L"a.b"}, dropped, L""},
        {L".a", {L""}, L"", L"a"},
        {long_name + L".b", {long_name}, long_name, L"b"},
        {long_name, {std::wstring_view(long_name).substr(1)}, dropped, L""},
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
        SCOPED_TRACE(testing::PrintToString(feature));
        const auto route = route_feature(feature, event_filter_t(enabled)).value_or(route_t{dropped, {}});
        EXPECT_EQ(route.category, category);
        EXPECT_EQ(route.label, label);
    }
}

TEST(feature_route, names_of_every_length_are_found_and_similar_ones_are_not) {
    std::vector<std::wstring> names;
    for (std::size_t size = 1; size <= 300; ++size)
        names.push_back(L"group." + std::wstring(size, L'x'));
    const event_filter_t filter({names.begin(), names.end()});
    for (const std::wstring& name : names) {
        SCOPED_TRACE(name.size());
        EXPECT_EQ(filter.longest_match(name), name.size());
        EXPECT_EQ(filter.longest_match(name + L".y"), name.size());
        EXPECT_EQ(filter.longest_match(name + L"y"), event_filter_t::no_match);
    }
}

TEST(hit, a_label_is_omitted_only_if_it_is_empty) {
    const std::pair<std::wstring, std::string> cases[] = {{L"", ""},
                                                          {L"a&b", "&el=a%26b"},
                                                          {L"ab\u00e9.c", "&el=ab%C3%A9.c"},
                                                          {std::wstring(1, L'\0') + L"a", "&el="},
                                                          {std::wstring(1, wchar_t(0xD800)), "&el="}};
    for (const auto& [label, text] : cases) {
        SCOPED_TRACE(testing::PrintToString(label));
        EXPECT_EQ(compose_event_hit("prefix=", {L"run", label}, false), "prefix=run" + text + "&cd3=n");
    }
}

TEST(hit, names_are_escaped_and_the_id_and_the_version_are_not) {
    EXPECT_EQ(compose_hit_prefix({"T-1", L"i d", L"n m", L"1 &", L"o s\u00e9"}),
              "v=1&tid=T-1&cid=i d&an=n%20m&av=1 &&cd1=win32&cd2=o%20s%C3%A9&t=event&ec=");
}
