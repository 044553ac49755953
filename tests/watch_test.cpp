// "ostrelctl watch": what a command posts is shown, and the command is left alone.
#include "support/profile.h"
#include "support/programs.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>

using namespace test_support;

namespace {

class watch : public testing::Test {
protected:
    watch() {
        profile.set("NORVANE_FORCE_FEEDBACK", "1");
        profile.set("NORVANE_FORCE_UUID", "an id");
    }

    static finished_t run(const texts_t& options, const texts_t& command) {
        finished_t finished = run_program(texts_t{OSTRELCTL, "watch"} + options + texts_t{"--"} + command);
        std::string& errors = finished.errors; // the command's own runtime may end lines with a return
        errors.erase(std::remove(errors.begin(), errors.end(), '\r'), errors.end());
        return finished;
    }
    static finished_t run(const texts_t& arguments) { return run({}, texts_t{WATCHED} + arguments); }

    const profile_t profile;
    const children_app_data_t shared{profile.local_app_data()};
    const std::string hit =
        "v=1&tid=UA-40271936-07&cid=x&an=y&av=1\x1B[2J&cd1=win32&cd2=z&t=event&ec=a%1B&cd3=y";
};

} // namespace

TEST_F(watch, hits_are_shown_apart_from_what_the_command_prints) {
    const finished_t shown = run({"report=run.tool", "report=run.caf\xC3\xA9", "a word", "exit=7"});
    EXPECT_EQ(shown.output,
              "category \"run\", label \"tool\", product \"watched\", version \"1 & 2\", regular user: no\n"
              "category \"run\", label \"caf\xC3\xA9\", product \"watched\", version \"1 & 2\", regular "
              "user: no\n");
    EXPECT_NE(shown.errors.find("[a word]"), std::string::npos);
    EXPECT_NE(shown.errors.find("ostrelctl: 2 hits, 0 malformed\n"), std::string::npos) << shown.errors;
    EXPECT_EQ(shown.status, 7);
}

TEST_F(watch, a_product_that_may_not_collect_shows_nothing_and_the_summary_says_where_to_look) {
    profile.set("NORVANE_FORCE_FEEDBACK", "");
    const finished_t shown = run({"report=run.tool"});
    EXPECT_EQ(shown.output, "");
    EXPECT_NE(shown.errors.find("0 hits, 0 malformed; \"ostrelctl status\" says"), std::string::npos);
}

TEST_F(watch, control_characters_are_made_visible_and_malformed_hits_counted) {
    const finished_t shown = run({"--raw"}, {WATCHED, "post=" + hit, "post=\x1B[31m", "post-long=66000"});
    EXPECT_EQ(shown.output,
              "category \"a\\x1b\", no label, product \"y\", version \"1\\x1b[2J\", regular user: yes\n"
              "  v=1&tid=UA-40271936-07&cid=x&an=y&av=1\\x1B[2J&cd1=win32&cd2=z&t=event&ec=a%1B&cd3=y\n"
              "malformed: the text does not begin like a hit\n"
              "  \\x1B[31m\n"
              "malformed: not HTTP as expected: body limit exceeded\n"
              "  \n");
    EXPECT_NE(shown.errors.find("1 hit, 2 malformed"), std::string::npos) << shown.errors;
}

TEST_F(watch, json_is_one_object_a_line) {
    const finished_t shown = run({"--json", "--raw"}, {WATCHED, "report=run.tool", "post=text"});
    std::istringstream lines(shown.output);
    std::string line;
    std::getline(lines, line);
    nlohmann::json document = nlohmann::json::parse(line);
    EXPECT_FALSE(document["os"].get<std::string>().empty());
    EXPECT_EQ(document["body"].get<std::string>().find("v=1&tid=UA-40271936-07&cid=an id&an=watched"), 0U);
    document.erase("os");
    document.erase("body");
    EXPECT_EQ(document.dump(), R"({"category":"run","label":"tool","machine_id":"an id","product":"watched",)"
                               R"("regular_user":false,"schema":1,"version":"1 & 2"})");
    std::getline(lines, line);
    EXPECT_EQ(line, R"({"schema":1,"malformed":"the text does not begin like a hit","body":"text"})");
}

TEST_F(watch, proxies_are_kept_out_of_the_way_and_nothing_else_is_changed) {
    const std::string dead = "http://127.0.0.1:1";
    profile.set("http_proxy", dead);
    profile.set("no_proxy", "a.example");
    const finished_t shown = run({"report=run.tool", "show=http_proxy", "show=no_proxy", "show=NO_PROXY"});
    EXPECT_NE(shown.errors.find("1 hit, 0 malformed"), std::string::npos) << shown.errors;
    EXPECT_NE(shown.errors.find(dead + "\na.example,127.0.0.1\na.example,127.0.0.1\n"), std::string::npos)
        << shown.errors;
    profile.set("no_proxy", "*");
    EXPECT_NE(run({"show=no_proxy"}).errors.find("*\n"), std::string::npos);
}

TEST_F(watch, only_the_random_path_takes_hits) {
    const finished_t shown = run({"post-elsewhere=" + hit});
    EXPECT_EQ(shown.output, "");
    EXPECT_NE(shown.errors.find("0 hits, 0 malformed, 1 request to other paths ignored"), std::string::npos)
        << shown.errors;
}

TEST_F(watch, arguments_reach_the_command_unchanged) {
    const texts_t words = {"",       " ",      "a\"b",   "\\", "a\\\\\"",
                           "a b\\",  "\"",     "--json", "--", "caf\xC3\xA9 \xE4\xB8\xAD",
                           "%PATH%", "a&b|c^d"};
    std::string expected;
    for (const std::string& word : words)
        expected += "[" + word + "]\n";
    const finished_t shown = run(words);
    EXPECT_EQ(shown.errors.substr(0, expected.size()), expected);
}

TEST_F(watch, a_command_that_does_not_exist_is_said_so) {
    const finished_t shown = run({}, {"no-such-\x1B"
                                      "command"});
    EXPECT_EQ(shown.status, 127);
    EXPECT_EQ(shown.errors, "ostrelctl: no-such-\\x1Bcommand: command not found\n");
    EXPECT_EQ(run_program({OSTRELCTL, "watch", "--"}).status, 2);
}
