// The collector that the examples, the tool and the tests share.
#include "collector/hit.h"
#include "support/profile.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace test_support;

namespace {

/// The table writes each byte of a body as one character.
std::string bytes_of(const std::string& text) {
    const std::wstring characters = ostrel_platform::to_wide(text);
    std::string bytes;
    for (const wchar_t character : characters)
        bytes.push_back(static_cast<char>(character));
    return bytes;
}

nlohmann::json meaning_of(const std::string& body) {
    try {
        const collector::hit_t hit = collector::parse_hit(body);
        return {{"category", hit.category},
                {"label", hit.label ? nlohmann::json(*hit.label) : nlohmann::json()},
                {"product", hit.product},
                {"version", hit.version},
                {"machine_id", hit.machine_id},
                {"os", hit.os},
                {"regular_user", hit.is_regular_user}};
    } catch (const collector::malformed_hit_t&) {
        return {{"malformed", true}};
    }
}

} // namespace

TEST(collector, bodies_have_the_meanings_of_the_table) {
    const auto table = nlohmann::json::parse(*read_file(OSTREL_TEST_SOURCE "/tests/data/hit_bodies.json"));
    ASSERT_GT(table.size(), 30U);
    for (nlohmann::json row : table) {
        SCOPED_TRACE(row["name"]);
        const std::string body = bytes_of(row["body"]);
        row.erase("name");
        row.erase("body");
        EXPECT_EQ(meaning_of(body), row);
    }
}
