// The bytes of a hit.
#include "statistic_impl_ga/hit.h"

#include "http_connector/http_connector.h"
#include "support/profile.h"

#include <gtest/gtest.h>

using namespace OSTREL_NAMESPACE;

namespace {

class hit : public testing::Test {
protected:
    std::string escape(const std::string& text) const { return connector.escape(text); }
    std::string compose(const std::string& prefix, const route_t& route, bool is_regular) const {
        return compose_event_hit(prefix, route, is_regular,
                                 [this](const auto& text) { return escape(text); });
    }

    test_support::profile_t profile;
    const http_connector_t connector{"http://127.0.0.1:1/"};
};

} // namespace

TEST_F(hit, everything_but_unreserved_ascii_is_percent_encoded) {
    std::string all;
    for (int c = 1; c < 128; ++c)
        all.push_back(static_cast<char>(c));
    EXPECT_EQ(escape(all),
              "%01%02%03%04%05%06%07%08%09%0A%0B%0C%0D%0E%0F%10%11%12%13%14%15%16%17%18%19%1A%1B%1C%1D%1E%1F"
              "%20%21%22%23%24%25%26%27%28%29%2A%2B%2C-.%2F0123456789%3A%3B%3C%3D%3E%3F%40"
              "ABCDEFGHIJKLMNOPQRSTUVWXYZ%5B%5C%5D%5E_%60abcdefghijklmnopqrstuvwxyz%7B%7C%7D~%7F");
    EXPECT_EQ(escape("\xC3\xA9\xFF"), "%C3%A9%FF");
    EXPECT_EQ(escape(std::string("a b\0c", 5)), "a%20b");
    EXPECT_EQ(escape(""), "");
}

TEST_F(hit, the_prefix_leaves_machine_id_and_version_unescaped) {
    EXPECT_EQ(compose_hit_prefix({"UA-40271936-07", L"5F0C & \u00e9", L"vem & \u00e9", L"7.1 & \u00e9",
                                  L"Windows 7 Enterprise"},
                                 [this](const auto& text) { return escape(text); }),
              "v=1&tid=UA-40271936-07&cid=5F0C & \xC3\xA9&an=vem%20%26%20%C3%A9&av=7.1 & \xC3\xA9&cd1=win32"
              "&cd2=Windows%207%20Enterprise");
}

TEST_F(hit, a_label_is_left_out_when_there_is_none) {
    EXPECT_EQ(compose("P", {L"a=b", L"\u4e2d&c"}, false), "P&t=event&ec=a%3Db&el=%E4%B8%AD%26c&cd3=n");
    EXPECT_EQ(compose("P", {L"a", L""}, true), "P&t=event&ec=a&cd3=y");
    EXPECT_EQ(compose("P", {L"a", std::wstring_view(L"\0x", 2)}, true), "P&t=event&ec=a&cd3=y");
}
