// "ostrelctl watch" shows the hits of a command. In all other respects the command runs as usual.
#include "support/profile.h"

#include <algorithm>
#include <regex>

using namespace test_support;

namespace {

struct watch : testing::Test {
    watch() {
        profile.set("NORVANE_FORCE_FEEDBACK", "1");
        profile.set("NORVANE_FORCE_UUID", "an id");
    }

    /// Watches the stand-in and expects @p error in the standard error. @return the standard output
    std::string watch_command(const texts_t& options, const texts_t& arguments, const std::string& error) {
        shown = run_program(texts_t{OSTRELCTL, "watch"} + options + texts_t{"--", STAND_IN} + arguments);
        std::string& errors = shown.errors; // the command's C runtime may write CR LF
        errors.erase(std::remove(errors.begin(), errors.end(), '\r'), errors.end());
        EXPECT_NE(shown.errors.find(error), std::string::npos) << shown.errors;
        return shown.output;
    }

    const profile_t profile;
    const children_app_data_t shared{profile.local_app_data()};
    finished_t shown;
    const std::string hit =
        "v=1&tid=UA-40271936-07&cid=x&an=y~&av=1\x1B[2J&cd1=win32&cd2=z&t=event&ec=a%1B&cd3=y";
};

} // namespace

TEST_F(watch, hits_are_separate_from_the_output_of_the_command) {
    EXPECT_EQ(watch_command({}, {"report=run.tool", "report=run.caf\xC3\xA9", "a word", "exit=7"},
                            "ostrelctl: 2 hits, 0 malformed\n"),
              "category \"run\", label \"tool\", product \"watched\", version \"1 & 2\", regular user: no\n"
              "category \"run\", label \"caf\xC3\xA9\", product \"watched\", version \"1 & 2\", regular "
              "user: no\n");
    EXPECT_NE(shown.errors.find("[a word]"), std::string::npos);
    EXPECT_EQ(shown.status, 7);
}

TEST_F(watch, requests_to_other_paths_are_ignored_and_zero_hits_get_a_hint) {
    profile.set("NORVANE_FORCE_FEEDBACK", "");
    EXPECT_EQ(
        watch_command({}, {"report=run.tool", "post-elsewhere=" + hit},
                      "0 hits, 0 malformed, 1 request to other paths ignored; \"ostrelctl status\" says"),
        "");
}

TEST_F(watch, control_characters_are_escaped_and_malformed_hits_counted) {
    EXPECT_EQ(
        watch_command({"--raw"}, {"post=" + hit, "post=\x1B[31m", "post-long=66000"}, "1 hit, 2 malformed"),
        "category \"a\\x1b\", no label, product \"y~\", version \"1\\x1b[2J\", regular user: yes\n"
        "  v=1&tid=UA-40271936-07&cid=x&an=y~&av=1\\x1B[2J&cd1=win32&cd2=z&t=event&ec=a%1B&cd3=y\n"
        "malformed: the text does not begin like a hit\n  \\x1B[31m\n"
        "malformed: invalid HTTP: body limit exceeded\n  \n");
}

TEST_F(watch, json_is_one_object_a_line) {
    const std::string output = watch_command({"--json", "--raw"}, {"report=run.tool", "post=text"}, "");
    EXPECT_EQ(
        std::regex_replace(output, std::regex("(cd2=|\"os\":\")[^&\"]+"), "$1SYSTEM"),
        R"({"schema":1,"category":"run","label":"tool","product":"watched","version":"1 & 2",)"
        R"("machine_id":"an id","os":"SYSTEM","regular_user":false,"body":"v=1&tid=UA-40271936-07&cid=an id)"
        R"(&an=watched&av=1 & 2&cd1=win32&cd2=SYSTEM&t=event&ec=run&el=tool&cd3=n"}
{"schema":1,"malformed":"the text does not begin like a hit","body":"text"}
)");
}

TEST_F(watch, hits_bypass_proxies_and_the_proxy_settings_stay) {
    profile.set("http_proxy", "http://127.0.0.1:1"); // nobody listens there
    profile.set("no_proxy", "a.example");
    const texts_t show{"report=run.tool", "show=http_proxy", "show=no_proxy", "show=NO_PROXY"};
    watch_command({}, show, "http://127.0.0.1:1\na.example,127.0.0.1\na.example,127.0.0.1\n");
    EXPECT_NE(shown.errors.find("1 hit, 0 malformed"), std::string::npos) << shown.errors;
    profile.set("no_proxy", "*");
    watch_command({}, {"show=no_proxy"}, "*\n");
}

TEST_F(watch, arguments_reach_the_command_unchanged) {
    const texts_t words =
        texts_t{"", " ", "a b\\"} + words_of("a\"b \\ a\\\\\" \" --json -- caf\xC3\xA9 %PATH% a&b|c^d");
    std::string expected;
    for (const std::string& word : words)
        expected += "[" + word + "]\n";
    watch_command({}, words, expected);
}

TEST_F(watch, a_missing_command_is_reported) {
    shown = run_program({OSTRELCTL, "watch", "--", "missing\x1B"});
    EXPECT_EQ(shown.status, 127);
    EXPECT_EQ(shown.errors, "ostrelctl: missing\\x1B: command not found\n");
    EXPECT_EQ(run_program({OSTRELCTL, "watch", "--"}).status, 2);
}
