// Bags on their way to the disk and back.
#include "toolkit/kiln2/variant_bag.h"

#include "support/profile.h"

#include <boost/process/child.hpp>
#include <gtest/gtest.h>

using namespace test_support;
using kiln2::load_variant_bag2;
using kiln2::save_variant_bag2;
using kiln2::variant_bag_t;
namespace fs = std::filesystem;

namespace {

std::string nested(int depth) {
    std::string text = "<bag>";
    for (int i = 1; i < depth; ++i)
        text += "<b>";
    for (int i = 1; i < depth; ++i)
        text += "</b>";
    return text + "</bag>";
}

class variant_bag : public testing::Test {
protected:
    int load(bool optional = false) { return load_variant_bag2(bag, wide(file), L"bag", optional); }
    bool is_empty() const { return bag.values().empty() && bag.bags().empty(); }

    const temporary_folder_t folder;
    const fs::path file = folder.path() / fs::u8path(u8"b\u00e4g.xml");
    variant_bag_t bag;
};

} // namespace

TEST_F(variant_bag, what_was_saved_comes_back_to_the_letter) {
    const std::wstring texts[] = {
        L"", L" ", L"\n", L" a\tb\r\nc\r ", L"<&>\"']]>", L"\x01\x1F\x7F", L"caf\u00e9 \u4e2d \U0001F600"};
    variant_bag_t saved;
    saved.put(L"number", -2147483647 - 1);
    saved.put(L"number2", 2147483647);
    saved.put(L"nothing", {});
    for (const std::wstring& text : texts)
        saved.add_bag(L"item").put(L"text", text);
    saved.add_bag(L"empty");
    ASSERT_TRUE(save_variant_bag2(saved, wide(file), L"bag"));
    ASSERT_EQ(load(), 1);
    EXPECT_EQ(bag.values(), saved.values());
    ASSERT_EQ(bag.bags().size(), 8U);
    for (std::size_t i = 0; i < 7; ++i)
        EXPECT_EQ(bag.bags()[i].second.get(L"text"), kiln2::variant_t(texts[i])) << i;
    EXPECT_EQ(bag.bags()[0].first, L"item");
    EXPECT_EQ(bag.bags()[7].first, L"empty");
}

TEST_F(variant_bag, elements_are_told_apart_by_type_and_content) {
    write_file(file, "\xEF\xBB\xBF<?xml version=\"1.0\"?><!-- c --><bag><t>a<!-- c -->b<![CDATA[<c>]]></t>"
                     "<n type=\"int\">07</n><w type=\"int\">1x</w><u type=\"date\">1</u>"
                     "<o type=\"int\">2147483648</o><b/><b><t>\xFFz&#xE9;</t></b></bag>");
    ASSERT_EQ(load(), 1);
    EXPECT_EQ(bag.get(L"t"), kiln2::variant_t(L"ab<c>"));
    EXPECT_EQ(bag.get(L"n"), kiln2::variant_t(7));
    for (const wchar_t* const name : {L"w", L"u", L"o", L"missing"})
        EXPECT_EQ(bag.get(name), kiln2::variant_t());
    ASSERT_EQ(bag.bags().size(), 2U);
    EXPECT_EQ(bag.bags()[1].second.get(L"t"), kiln2::variant_t(L"z\u00e9"));
}

TEST_F(variant_bag, what_is_malformed_leaves_the_bag_empty) {
    const std::string whole = "<bag><item><Y type=\"int\">1</Y></item><name>n</name></bag>";
    std::vector<std::string> malformed{
        "",         "\n",     std::string(1, '\0'), "\x89PNG\r\n\x1A\n",      "text",
        "<other/>", "<Bag/>", nested(65),           std::string(200000, '<'), nested(200000)};
    for (std::size_t length = 1; length < whole.size(); length += 5)
        malformed.push_back(whole.substr(0, length));
    for (const std::string& content : malformed) {
        write_file(file, content);
        bag.put(L"former", 1);
        EXPECT_EQ(load(), -1) << content.substr(0, 60);
        EXPECT_TRUE(is_empty());
    }
    for (const std::string& content : {whole, nested(64), std::string("<bag/>")}) {
        write_file(file, content);
        EXPECT_EQ(load(), 1) << content.substr(0, 60);
    }
}

TEST_F(variant_bag, a_missing_file_is_an_empty_bag_only_where_it_is_optional) {
    bag.put(L"former", 1);
    EXPECT_EQ(load(), 0);
    EXPECT_TRUE(is_empty());
    EXPECT_EQ(load(true), 1);
    fs::create_directory(file);
    EXPECT_EQ(load(true), 0);
}

TEST_F(variant_bag, a_file_that_is_too_large_is_malformed) {
    write_file(file, "<bag/>");
    fs::resize_file(file, (std::uintmax_t{64} << 20) + 1);
    EXPECT_EQ(load(), -1);
}

TEST_F(variant_bag, what_cannot_stand_in_xml_leaves_the_old_file) {
    write_file(file, "<bag><old>1</old></bag>");
    for (const wchar_t* const name : {L"", L"1a", L"a b", L"a>", L"\u00e9"}) {
        variant_bag_t bad;
        bad.put(name, 1);
        EXPECT_FALSE(save_variant_bag2(bad, wide(file), L"bag"));
        EXPECT_FALSE(save_variant_bag2({}, wide(file), name));
    }
    variant_bag_t bad;
    bad.add_bag(L"nested").put(L"text", std::wstring(L"a\0b", 3));
    EXPECT_FALSE(save_variant_bag2(bad, wide(file), L"bag"));
    EXPECT_EQ(read_file(file), "<bag><old>1</old></bag>");
}

TEST_F(variant_bag, a_draft_that_a_killed_writer_left_is_in_nobodys_way) {
    fs::path draft = file;
    draft += ".tmp";
    write_file(draft, std::string(1000, 'x'));
    ASSERT_TRUE(save_variant_bag2({}, wide(file), L"bag"));
    EXPECT_EQ(load(), 1);
    EXPECT_FALSE(fs::exists(draft));
}

TEST_F(variant_bag, a_file_that_cannot_be_replaced_stays) {
    fs::create_directories(file / "inside");
    EXPECT_FALSE(save_variant_bag2({}, wide(file), L"bag"));
    EXPECT_TRUE(fs::exists(file / "inside"));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 1);
    EXPECT_FALSE(save_variant_bag2({}, wide(folder.path() / "missing" / "f"), L"bag"));
}

TEST_F(variant_bag, a_reader_sees_whole_files_while_other_processes_write) {
    const fs::path shared = folder.path() / "shared.xml";
    bag.put(L"whole", 1);
    ASSERT_TRUE(save_variant_bag2(bag, wide(shared), L"bag"));
    boost::process::child first(OTHER_PROCESS, "save", shared.string());
    boost::process::child second(OTHER_PROCESS, "save", shared.string());
    while (first.running() || second.running()) {
        ASSERT_EQ(load_variant_bag2(bag, wide(shared), L"bag", false), 1);
        ASSERT_EQ(bag.get(L"whole"), kiln2::variant_t(1));
    }
    EXPECT_TRUE(first.exit_code() == 0 && second.exit_code() == 0);
    ASSERT_EQ(load_variant_bag2(bag, wide(shared), L"bag", false), 1);
    EXPECT_NE(bag.get(L"text"), kiln2::variant_t());
}
