// The inspection tool: it says what the library does, and changes nothing but the recorded answer.
#include "support/profile.h"

#include <algorithm>
#include <regex>

using namespace std::string_literals;
using namespace test_support;

namespace {

/// The expected output. Windows has no file modes: null in JSON, spaces in text.
std::string expected_text(const std::string& file) {
    const std::string text = *read_file(file);
    if (fs::path::preferred_separator == '/')
        return text;
    const std::string without = std::regex_replace(text, std::regex("\"0[67]00\""), "null");
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
        // Replaces the separators of Windows (doubled in JSON), but no escape sequences.
        text = std::regex_replace(text, std::regex(R"(\\+(?!x|u0|"))"), "/");
        text = std::regex_replace(text, std::regex(profile.local_app_data().generic_u8string()), "DATA");
        text = std::regex_replace(text, std::regex(folder.generic_u8string()), "PRODUCT");
        return std::regex_replace(text, std::regex("cd2=[^&]*"), "cd2=SYSTEM");
    }

    profile_t profile;
    const children_app_data_t shared{profile.local_app_data()};
    const fs::path folder = profile.folder() / "pro";
    std::string output;
};

} // namespace

TEST_F(ostrelctl, complete_outputs_match_for_each_decision) {
    const auto expect = [this](const std::string& name, const char* domain, const char* url) {
        SCOPED_TRACE(name);
        profile.set("OSTREL_CORPORATE_DOMAIN", domain);
        profile.set("OSTREL_COLLECTION_URL", url);
        for (const auto& entry : fs::recursive_directory_iterator(profile.folder()))
            fs::permissions(entry.path(), fs::perms(entry.is_directory() ? 0700 : 0600));
        EXPECT_EQ(transcript(), expected_text(OSTREL_TEST_SOURCE "/tests/data/ostrelctl_" + name + ".txt"));
    };
    const fs::path id = profile.statistic_dir() / "uuid.xml",
                   dates = profile.statistic_dir() / "last_active_dates.xml";
    const std::string day = "<item><Y type=\"int\">9999</Y><M type=\"int\">1</M><D type=\"int\">1</D></item>";
    profile.set("all_proxy", "http://me:se@cret@proxy:8080"); // Wine would report http_proxy as system proxy
    profile.set("no_proxy", "localhost");
    write_file(profile.virk(), "1");
    write_file(id, "<bag><UUID>i&#27;d</UUID></bag>");
    write_file(dates, "<bag>" + day + day + day + "</bag>");
    expect("agreed", "127.0.0.1", "http://me:pa@ss@collector/\x1B[2J");
    write_file(profile.virk(), "0");
    write_file(id, "<bag><UUID>");
    write_file(dates, "<bag>" + day + day + "</bag>");
    write_file(profile.statistic_dir() / "last_active_dates.lock", "");
    expect("refused", "127.0.0.1", "http://collector/");
    fs::remove_all(profile.company());
    expect("inside", "10.1.2.3", "");
}

TEST_F(ostrelctl, status_gives_a_reason_and_an_exit_status) {
    const auto expect = [this](int status, const std::string& answer) {
        SCOPED_TRACE(answer);
        EXPECT_EQ(run({"status"}), status);
        EXPECT_EQ(output.find("now?  " + answer), 36U) << output;
    };
    profile.set("NORVANE_FORCE_UUID", "i");
    profile.set("NORVANE_FORCE_FEEDBACK", "1");
    expect(0, "yes: the environment forces it\n");
    EXPECT_NE(output.find("from NORVANE_FORCE_UUID"), std::string::npos) << output;
    EXPECT_EQ(run({"consent"}), 1);
    EXPECT_NE(output.find("NORVANE_FORCE_FEEDBACK is set here"), std::string::npos) << output;
    profile.unset("NORVANE_FORCE_UUID");
    profile.set("NORVANE_DISABLE_FEEDBACK", "1");
    expect(1, "no: the environment switches it off\n");
    write_file(profile.statistic_dir("vemtra") / "uuid.xml", "<bag/>");
    expect(1, "no: there is no machine id\n");
    fs::remove_all(profile.company());
    write_file(profile.company(), "");
    expect(1, "no: a product cannot create the statistic object: ");
}

TEST_F(ostrelctl, commands_report_failures_and_change_the_answer_only) {
    // Arguments, exit status, words of the output, and the number of files and folders afterwards.
    const char* const preview_with_device =
        fs::exists("/dev/null") ? "preview --filter /dev/null run.a" : "preview --filter NUL run.a";
    const std::tuple<const char*, long long, const char*, std::size_t> rows[] = {
        {"consent forget", 0, "answer: none", 0},
        {"status", 1, "no answer is recorded: a product would ask", 0},
        {"status --settings another-name", 1, "another-name", 0},
        {"consent yes", 0, "answer: yes", 2},
        {"preview run.a", 0, "&cid=NEW-MACHINE-ID&an=vemtra&av=unknown&cd1=", 2},
        {"preview --filter nowhere run.a", 2, "no such file: nowhere", 2},
        {preview_with_device, 0, "its next start.)\n(The event filter is a device, so it enables no feature",
         2},
        {"consent no", 0, "answer: no", 2},
        {"consent forget --json", 0, "\"answer\": \"none\"", 1},
        {"", 2, "a command is required", 1},
        {"s\x1B\u0085\u202E", 2, "not expected: s\\x1B\\xC2\\x85\\xE2\\x80\\xAE\nTry: ostrelctl status", 1},
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
    fs::create_directories(profile.statistic_dir("b"));
    fs::create_directories(profile.statistic_dir("a"));
    fs::create_directories(profile.company() / "settings" / "statistic"); // as if a product were named "."
    write_file(profile.statistic_dir("no folder"), "");
    EXPECT_EQ(run({"products"}), 0);
    EXPECT_EQ(output, "a\n   " + profile.statistic_dir("a").u8string() + "\nb\n   " +
                          profile.statistic_dir("b").u8string() + "\n");
}

TEST_F(ostrelctl, the_manual_explains_each_json_field_and_code) {
    const std::string root = OSTREL_TEST_SOURCE, manual = *read_file(root + "/docs/ostrelctl.1");
    std::string text = *read_file(root + "/tools/ostrelctl/codes.cpp");
    for (const char* const name : {"agreed", "refused", "inside"})
        text += *read_file(root + "/tests/data/ostrelctl_" + name + ".txt");
    const std::regex field_or_code("\"([a-z_]+)\"[:;]");
    for (std::sregex_iterator found(text.begin(), text.end(), field_or_code), end; found != end; ++found)
        EXPECT_NE(manual.find("\\fB" + found->str(1) + "\\fR"), std::string::npos) << found->str(1);
}
