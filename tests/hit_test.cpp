// Which event a feature name becomes, and the bytes of its hit.
#include "statistic_impl_ga/hit.h"

#include "http_connector/http_connector.h"
#include "support/profile.h"

#include <gtest/gtest.h>

using namespace OSTREL_NAMESPACE;

TEST(feature_route, the_longest_enabled_prefix_wins_and_run_needs_no_filter) {
    const std::wstring dropped = L"-";
    const std::tuple<std::wstring, event_set_t, std::wstring, std::wstring> cases[] = {
        {L"a.b.c", {L"a"}, L"a", L"b.c"},
        {L"a.b.c", {L"a", L"a.b"}, L"a.b", L"c"},
        {L"a.", {L"a"}, L"a", L""},
        {L"a..b", {L"a"}, L"a", L".b"},
        {L"a..b", {L"a", L"a."}, L"a.", L"b"},
        {std::wstring(70, L'a') + L".b", {std::wstring(70, L'a')}, std::wstring(70, L'a'), L"b"},
        {std::wstring(70, L'a') + L".b", {std::wstring(71, L'a')}, dropped, L""},
        {L"a.bc", {L"a.b"}, dropped, L""},
        {L"A.b", {L"a"}, dropped, L""},
        {L"\u00e9.\u4e2d", {L"\u00e9"}, L"\u00e9", L"\u4e2d"},
        {L"run.start", {}, L"run", L"start"},
        {L"run.", {}, L"run", L""},
        {L"run.start", {L"run.start"}, L"run.start", L""},
        {L"run.a.b", {L"run"}, L"run", L"a.b"},
        {L"run.a.b", {}, dropped, L""},
        {L"run..", {}, dropped, L""},
        {L"run", {}, dropped, L""},
        {L"Run.x", {}, dropped, L""},
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

TEST(hit, names_are_percent_encoded_but_neither_machine_id_nor_version) {
    const test_support::profile_t profile;
    const http_connector_t connector("http://127.0.0.1:1/");
    const auto escape = [&](const std::string& text) { return connector.escape(text); };
    std::string all;
    for (int c = 1; c < 128; ++c)
        all.push_back(static_cast<char>(c));
    EXPECT_EQ(escape(all),
              "%01%02%03%04%05%06%07%08%09%0A%0B%0C%0D%0E%0F%10%11%12%13%14%15%16%17%18%19%1A%1B%1C%1D%1E%1F"
              "%20%21%22%23%24%25%26%27%28%29%2A%2B%2C-.%2F0123456789%3A%3B%3C%3D%3E%3F%40"
              "ABCDEFGHIJKLMNOPQRSTUVWXYZ%5B%5C%5D%5E_%60abcdefghijklmnopqrstuvwxyz%7B%7C%7D~%7F");
    EXPECT_EQ(escape(std::string("\xC3\xA9\xFF \0c", 6)), "%C3%A9%FF%20");
    EXPECT_EQ(escape(""), "");
    const hit_identity_t identity{"UA-40271936-07", L"5F0C & \u00e9", L"vem & \u00e9", L"7.1 & \u00e9",
                                  L"W 7"};
    EXPECT_EQ(compose_hit_prefix(identity, escape),
              "v=1&tid=UA-40271936-07&cid=5F0C & \xC3\xA9&an=vem%20%26%20%C3%A9&av=7.1 & \xC3\xA9&cd1=win32"
              "&cd2=W%207");
    EXPECT_EQ(compose_event_hit("P", {L"a=b", L"\u4e2d&c"}, false, escape),
              "P&t=event&ec=a%3Db&el=%E4%B8%AD%26c&cd3=n");
    EXPECT_EQ(compose_event_hit("P", {L"a", L""}, true, escape), "P&t=event&ec=a&cd3=y");
    EXPECT_EQ(compose_event_hit("P", {L"a", std::wstring_view(L"\0x", 2)}, true, escape),
              "P&t=event&ec=a&cd3=y");
}
