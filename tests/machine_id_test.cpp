// The machine id and the file that keeps it.
#include "statistic_impl/machine_id.h"

#include "statistic_impl_ga/statistic_impl_ga.h"
#include "support/log_capture.h"
#include "support/profile.h"

#include <gtest/gtest.h>
#include <regex>
#include <set>

using namespace test_support;
using namespace OSTREL_NAMESPACE;

namespace {

class machine_id : public testing::Test {
protected:
    static std::wstring id_in_use() { return statistic_impl_ga_t(L"product", L"1").get_uuid(); }

    profile_t profile;
    const std::filesystem::path file = profile.statistic_dir() / "uuid.xml";
};

const std::wregex form(L"[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}");

} // namespace

TEST_F(machine_id, sixteen_bytes_become_five_groups_of_upper_case_digits) {
    EXPECT_EQ(format_uuid({0x3F, 0x2A, 0x0C, 0x91, 0x7B, 0x44, 0xE0, 0x12, 0x9C, 0x5D, 0x0A, 0x1B, 0x2C, 0x3D,
                           0x4E, 0xFF}),
              L"3F2A0C91-7B44-E012-9C5D-0A1B2C3D4EFF");
}

TEST_F(machine_id, every_fresh_id_is_random_in_every_digit) {
    std::set<std::wstring> ids;
    std::vector<std::set<wchar_t>> digits(36);
    for (int i = 0; i < 1000; ++i) {
        const std::wstring id = *ids.insert(generate_uuid()).first;
        ASSERT_TRUE(std::regex_match(id, form));
        for (std::size_t place = 0; place < id.size(); ++place)
            digits[place].insert(id[place]);
    }
    EXPECT_EQ(ids.size(), 1000U);
    for (std::size_t place = 0; place < digits.size(); ++place)
        EXPECT_TRUE(digits[place].size() == 16 || digits[place] == std::set<wchar_t>{L'-'}) << place;
}

TEST_F(machine_id, the_first_object_stores_the_id_that_later_ones_use) {
    const std::wstring id = id_in_use();
    EXPECT_TRUE(std::regex_match(id, form));
    EXPECT_EQ(read_file(file), "<?xml version=\"1.0\"?>\n<bag>\n  <UUID type=\"string\">" +
                                   std::string(id.begin(), id.end()) + "</UUID>\n</bag>\n");
    EXPECT_EQ(id_in_use(), id);
}

TEST_F(machine_id, a_forced_id_is_neither_read_nor_stored) {
    profile.set("NORVANE_FORCE_UUID", "caf\xC3\xA9");
    EXPECT_EQ(id_in_use(), L"caf\u00e9");
    EXPECT_FALSE(std::filesystem::exists(file));
    profile.set("NORVANE_FORCE_UUID", "");
    EXPECT_TRUE(std::regex_match(id_in_use(), form));
}

TEST_F(machine_id, a_stored_id_serves_as_it_stands_and_a_damaged_file_silences) {
    const struct {
        std::string content;
        std::wstring id;
    } cases[] = {
        {"<bag><UUID>any form \xC3\xA9</UUID></bag>", L"any form \u00e9"},
        {"<bag/>", L""},
        {"<bag><uuid>3F2A0C91</uuid></bag>", L""},
        {"<bag><UUID type=\"int\">5</UUID></bag>", L""},
        {"<bag><UUID><UUID>nested</UUID></UUID></bag>", L""},
    };
    for (const auto& [content, id] : cases) {
        write_file(file, content);
        EXPECT_EQ(id_in_use(), id) << content;
        EXPECT_EQ(read_file(file), content);
    }
}

TEST_F(machine_id, a_malformed_file_is_replaced) {
    for (const std::string& content :
         {std::string(), std::string("<bag><UUID>3F"), std::string("\0\xFF\x7F", 3),
          std::string("<other><UUID>i</UUID></other>")}) {
        write_file(file, content);
        const std::wstring id = id_in_use();
        EXPECT_TRUE(std::regex_match(id, form));
        EXPECT_EQ(id_in_use(), id);
    }
}

TEST_F(machine_id, an_id_that_cannot_be_stored_serves_all_the_same) {
    std::filesystem::create_directories(file / "in the way");
    const std::wstring id = id_in_use();
    EXPECT_TRUE(std::regex_match(id, form));
    EXPECT_NE(id_in_use(), id);
}

TEST_F(machine_id, its_loading_is_traced) {
    const log_capture_t capture;
    id_in_use();
    const std::string text =
        "std::basic_string<__wchar_t, std::char_traits<__wchar_t>, std::allocator<__wchar_t>> "
        "ostrel_1_5_6::statistic_impl_t::load_uuid()";
    ASSERT_GE(capture.texts().size(), 2U);
    EXPECT_EQ(capture.texts()[0], "ENTER: " + text);
    EXPECT_EQ(capture.texts()[1], "EXIT:  " + text);
}
