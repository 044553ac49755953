// From the name of a feature to the text of its hit, and back to the values that a collector reads.
#include "statistic_impl_ga/hit.h"

#include "collector/hit.h"
#include "platform/os_name.h"
#include "support/profile.h"

#include <nlohmann/json.hpp>

using namespace OSTREL_NAMESPACE;

TEST(feature_route, the_longest_prefix_wins_and_run_dot_name_needs_no_filter) {
    const std::tuple<std::wstring, std::vector<std::wstring_view>, std::wstring> cases[] = {
        {L"a.b.c", {L"a.b.c.d", L"a.b", L"a.b", L"a"}, L"a.b|c"},
        {L"a..b", {L"a"}, L"a|.b"},
        {L"a.", {L"a"}, L"a|"},
        {L".a", {L""}, L"|a"},
        {L"a.bc", {L"a.b"}, L"dropped"},
        {L"A.b", {L"a"}, L"dropped"},
        {L"\u00e9.\u4e2d", {L"\u00e9"}, L"\u00e9|\u4e2d"},
        {L"run.start", {}, L"run|start"},
        {L"run.", {}, L"run|"},
        {L"run.start", {L"run.start"}, L"run.start|"},
        {L"run.a.b", {L"run"}, L"run|a.b"},
        {L"run.a.b", {}, L"dropped"},
        {L"run", {}, L"dropped"},
    };
    for (const auto& [feature, enabled, expected] : cases) {
        SCOPED_TRACE(testing::PrintToString(feature));
        const auto route = route_feature(feature, event_filter_t(enabled));
        EXPECT_EQ(route ? std::wstring(route->category).append(L"|").append(route->label) : L"dropped",
                  expected);
    }
}

TEST(feature_route, names_of_every_length_are_found_and_similar_ones_are_not) {
    std::vector<std::wstring> names;
    for (std::size_t size = 1; size <= 300; ++size)
        names.push_back(L"group." + std::wstring(size, L'x'));
    const event_filter_t filter({names.begin(), names.end()});
    EXPECT_EQ(event_filter_t({L"b", L"a", L"b"}).names(), (std::vector<std::wstring_view>{L"a", L"b"}));
    for (const std::wstring& name : names) {
        SCOPED_TRACE(name.size());
        EXPECT_EQ(filter.longest_match(name + L".y"), name.size());
        EXPECT_EQ(filter.longest_match(name + L"y"), event_filter_t::no_match);
    }
}

TEST(hit, a_label_is_omitted_only_if_it_is_empty) {
    const std::pair<std::wstring, std::string> cases[] = {{L"", ""},
                                                          {L"ab\u00e9.c&", "&el=ab%C3%A9.c%26"},
                                                          {std::wstring(1, L'\0') + L"a", "&el="},
                                                          {std::wstring(1, wchar_t(0xD800)), "&el="}};
    for (const auto& [label, text] : cases) {
        SCOPED_TRACE(testing::PrintToString(label));
        EXPECT_EQ(compose_event_hit("prefix=", {L"run", label}, false), "prefix=run" + text + "&cd3=n");
    }
}

TEST(hit, all_characters_but_the_unreserved_ones_are_escaped) {
    const std::string unreserved = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
    for (wchar_t unit = 1; unit < 128; ++unit) {
        SCOPED_TRACE(unit);
        const std::string character(1, static_cast<char>(unit));
        const std::string escaped{'%', "01234567"[unit / 16], "0123456789ABCDEF"[unit % 16]};
        EXPECT_EQ(compose_event_hit("", {{}, {&unit, 1}}, false),
                  "&el=" + (unreserved.find(character) == std::string::npos ? escaped : character) +
                      "&cd3=n");
    }
}

TEST(hit, names_are_escaped_and_the_id_and_the_version_are_not) {
    EXPECT_EQ(identify({}, {}, {}).os_name,
              ostrel_platform::os_product_name().value_or(L"Undefined Windows Version"));
    EXPECT_EQ(compose_hit_prefix({"T-1", L"i d", L"n m", L"1 &", L"o s\u00e9"}),
              "v=1&tid=T-1&cid=i d&an=n%20m&av=1 &&cd1=win32&cd2=o%20s%C3%A9&t=event&ec=");
}

TEST(hit, parsed_bodies_match_the_shared_table) {
    const std::string file = OSTREL_TEST_SOURCE "/tests/data/hit_bodies.json";
    const auto table = nlohmann::json::parse(*test_support::read_file(file));
    ASSERT_GT(table.size(), 30U);
    for (const nlohmann::json& row : table) {
        SCOPED_TRACE(row["name"]);
        // In the table, one character (up to U+00FF) stands for one byte of the body.
        const std::wstring characters = ostrel_platform::to_wide(row["body"].get<std::string>());
        const std::string body(characters.begin(), characters.end());
        if (row.contains("malformed")) {
            EXPECT_THROW(collector::parse_hit(body), collector::malformed_hit_t);
            continue;
        }
        const collector::hit_t hit = collector::parse_hit(body);
        EXPECT_EQ(hit.category, row["category"]);
        EXPECT_EQ(hit.label ? nlohmann::json(*hit.label) : nlohmann::json(), row["label"]);
        EXPECT_EQ(hit.product, row["product"]);
        EXPECT_EQ(hit.version, row["version"]);
        EXPECT_EQ(hit.machine_id, row["machine_id"]);
        EXPECT_EQ(hit.os, row["os"]);
        EXPECT_EQ(hit.is_regular_user, row["regular_user"]);
    }
}
