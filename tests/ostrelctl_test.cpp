// The inspection tool: it says what the library does, and changes nothing but the recorded answer.
#include "support/profile.h"
#include "support/programs.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>
#include <regex>
#include <sstream>

using namespace std::string_literals;
using namespace test_support;

namespace {

constexpr bool has_modes = fs::path::preferred_separator == '/';

/// Puts a word in the place of a path, and slashes behind it.
void replace_path(std::string& text, const std::string& path, const std::string& word) {
    const std::string in_json = std::regex_replace(path, std::regex("\\\\"), "\\\\");
    for (const std::string& form : {in_json, path})
        for (std::size_t at = text.find(form); at != std::string::npos; at = text.find(form, at)) {
            text.replace(at, form.size(), word);
            const std::size_t end = std::min(text.find('"', at), text.find('\n', at));
            const std::string rest = text.substr(at, end - at);
            text.replace(at, rest.size(), std::regex_replace(rest, std::regex("\\\\+"), "/"));
        }
}

/// The file as this system would have it: not every one has modes.
std::string expected_text(const std::string& file) {
    const std::string text = *read_file(file);
    if (has_modes)
        return text;
    const std::string without =
        std::regex_replace(text, std::regex("\"mode\": \"0[67]00\""), "\"mode\": null");
    return std::regex_replace(without, std::regex("0[67]00"), "    ");
}

struct ostrelctl : testing::Test {
    ostrelctl() {
        write_file(folder / "statistic" / "enabled_stat_events.xml",
                   "<bag><event><name>menu</name></event><event><name>&#27;[31m</name></event></bag>");
    }

    /// @return the exit status; what was printed is in output
    long long run(texts_t words) {
        const finished_t finished = run_program(texts_t{OSTRELCTL} + words);
        output = finished.output + finished.errors;
        return finished.status;
    }

    /// What is printed and returned; paths and the system's name are replaced by words.
    std::string transcript() {
        const std::string subject = " --product product --product-folder PRODUCT";
        std::string text;
        for (const std::string& command :
             {"status" + subject, "status" + subject + " --json",
              "preview" + subject + " --product-version 1&2 run.a.b run.caf\xC3\xA9 menu.x",
              "preview" + subject + " run.a --json", "consent"s, "consent --json"s, "products"s,
              "products --json"s}) {
            texts_t words = words_of(command);
            std::replace(words.begin(), words.end(), "PRODUCT"s, folder.u8string());
            const std::string status = std::to_string(run(words));
            text += "$ ostrelctl " + command + "\n" + output + "exit status " + status + "\n\n";
        }
        replace_path(text, profile.local_app_data().u8string(), "DATA");
        replace_path(text, folder.u8string(), "PRODUCT");
        return std::regex_replace(text, std::regex("cd2=[^&]*"), "cd2=SYSTEM");
    }

    profile_t profile;
    const children_app_data_t shared{profile.local_app_data()};
    const fs::path folder = profile.folder() / "pro";
    std::string output;
};

} // namespace

TEST_F(ostrelctl, whole_outputs_follow_the_decision) {
    const std::string day = "<item><Y type=\"int\">9999</Y><M type=\"int\">1</M><D type=\"int\">1</D></item>";
    using files_t = std::map<std::string, std::string>; // below the company folder
    const std::string stored = "product/settings/statistic/", dates = stored + "last_active_dates";
    const std::tuple<std::string, const char*, const char*, files_t> cases[] = {
        {"agreed",
         "127.0.0.1",
         "http://me:pa@ss@collector/\x1B[2J",
         {{"virk", "1"},
          {stored + "uuid.xml", "<bag><UUID>i&#27;d</UUID></bag>"},
          {dates + ".xml", "<bag>" + day + day + day + "</bag>"}}},
        {"refused",
         "127.0.0.1",
         "http://collector/",
         {{"virk", "0"},
          {stored + "uuid.xml", "<bag><UUID>"},
          {dates + ".lock", ""},
          {dates + ".xml", "<bag>" + day + day + "</bag>"}}},
        {"inside", "10.1.2.3", "", {}},
    };
    profile.set("all_proxy", "http://me:se@cret@proxy:8080"); // Wine takes http_proxy for the machine's
    profile.set("no_proxy", "localhost");
    for (const auto& [name, domain, url, files] : cases) {
        SCOPED_TRACE(name);
        profile.set("OSTREL_CORPORATE_DOMAIN", domain);
        profile.set("OSTREL_COLLECTION_URL", url);
        fs::remove_all(profile.company());
        for (const auto& [path, content] : files)
            write_file(profile.company() / path, content);
        for (const auto& entry : fs::recursive_directory_iterator(profile.folder()))
            fs::permissions(entry.path(), entry.is_directory() ? fs::perms(0700) : fs::perms(0600));
        const std::string expected = OSTREL_TEST_SOURCE "/tests/data/ostrelctl_" + name + ".txt";
        EXPECT_EQ(transcript(), expected_text(expected));
    }
}

TEST_F(ostrelctl, status_gives_a_reason_and_an_exit_status) {
    const std::tuple<const char*, const char*, long long, std::string> cases[] = {
        {"NORVANE_FORCE_FEEDBACK", "1", 0, "yes: the environment forces it\n"},
        {"NORVANE_DISABLE_FEEDBACK", "1", 1, "no: the environment switches it off\n"},
        {"OSTREL_CORPORATE_DOMAIN", "10.0.0.1", 1, "no: this machine is inside the maker's network\n"},
        {"NORVANE_FORCE_UUID", "i", 1, "no: the user has not agreed\n"},
    };
    for (const auto& [variable, value, status, words] : cases) {
        SCOPED_TRACE(words);
        profile.set(variable, value);
        EXPECT_EQ(run({"status"}), status);
        EXPECT_EQ(output.substr(output.find("  ") + 2, words.size()), words);
        profile.unset(variable);
        profile.set("OSTREL_CORPORATE_DOMAIN", "127.0.0.1");
    }
    write_file(profile.statistic_dir("vemtra") / "uuid.xml", "<bag/>");
    EXPECT_EQ(run({"status"}), 1);
    EXPECT_EQ(output.find("now?  no: there is no machine id\n"), 36U);
    fs::remove_all(profile.company());
    write_file(profile.company(), "");
    EXPECT_EQ(run({"status"}), 1);
    EXPECT_EQ(output.find("now?  no: a product cannot create the statistic object: "), 36U);
}

TEST_F(ostrelctl, commands_report_failures_and_change_the_answer_only) {
    // Arguments, exit status, words of the output, and the number of files: the company folder and the
    // answer.
    const std::tuple<const char*, long long, const char*, std::size_t> rows[] = {
        {"consent", 1, "answer: none", 0},
        {"consent forget", 0, "answer: none", 0},
        {"products", 0, "No product stores data", 0},
        {"preview run.a", 1, "nothing would be posted: the user has not agreed", 0},
        {"consent yes", 0, "answer: yes", 2},
        {"preview run.a", 0, "&cid=NEW-MACHINE-ID&an=vemtra&av=unknown&cd1=", 2},
        {"preview --filter nowhere run.a", 2, "no such file: nowhere", 2},
        {"consent no", 0, "answer: no", 2},
        {"consent --json", 1, "\"answer\": \"no\"", 2},
        {"consent forget --json", 0, "\"answer\": \"none\"", 1},
        {"", 2, "a command is required", 1},
        {"sta\x1B", 2, "not expected: sta\\x1B\nTry: ostrelctl status", 1},
        {"preview", 2, "NAME is required", 1},
        {"consent maybe", 2, "maybe not in {yes,no,forget}", 1},
        {"--version", 0, "ostrelctl " OSTREL_TEST_VERSION "\n", 1},
    };
    for (const auto& [arguments, status, words, files] : rows) {
        SCOPED_TRACE(arguments);
        EXPECT_EQ(run(words_of(arguments)), status);
        EXPECT_NE(output.find(words), std::string::npos) << output;
        EXPECT_EQ(contents(profile.local_app_data()).size(), files);
    }
    write_file(profile.statistic_dir("b") / "uuid.xml", "");
    fs::create_directories(profile.statistic_dir("a"));
    fs::create_directories(profile.company() / "settings" / "statistic"); // as if a product were named "."
    EXPECT_EQ(run({"products"}), 0);
    EXPECT_LT(output.find("a\n   " + profile.statistic_dir("a").u8string()), output.find("b\n   "));
    EXPECT_EQ(output.find(".\n"), std::string::npos) << output;
}

TEST_F(ostrelctl, the_manual_explains_each_json_field_and_code) {
    const std::string manual = *read_file(OSTREL_TEST_SOURCE "/docs/ostrelctl.1");
    const auto expect_explained = [&manual](const std::string& text, const std::regex& name) {
        for (std::sregex_iterator found(text.begin(), text.end(), name), end; found != end; ++found)
            EXPECT_NE(manual.find("\\fB" + found->str(1) + "\\fR"), std::string::npos) << found->str(1);
    };
    const std::string codes = *read_file(OSTREL_TEST_SOURCE "/tools/ostrelctl/codes.cpp");
    expect_explained(codes.substr(codes.find("code_of")), std::regex("\"([a-z_]+)\""));
    for (const char* const name : {"agreed", "refused", "inside"})
        expect_explained(*read_file(OSTREL_TEST_SOURCE "/tests/data/ostrelctl_" + std::string(name) + ".txt"),
                         std::regex("\"([a-z_]+)\":"));
}
