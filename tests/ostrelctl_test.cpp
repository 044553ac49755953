// The inspection tool: what it says is what the library does, and it leaves no trace.
#include "ostrel/ostrel.h"
#include "settor2/product_locations_c.h"
#include "statistic_impl/last_active_dates.h"
#include "support/collector.h"
#include "support/profile.h"
#include "support/programs.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <regex>
#include <sstream>

using namespace std::string_literals;
using namespace test_support;

namespace {

constexpr bool has_modes = fs::path::preferred_separator == '/';

texts_t words_of(const std::string& command) {
    std::istringstream words(command);
    return {std::istream_iterator<std::string>(words), {}};
}

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

class ostrelctl : public testing::Test {
protected:
    ostrelctl() {
        profile.set("OSTREL_COLLECTION_URL", collector.url());
        write_file(folder / "statistic" / "enabled_stat_events.xml",
                   "<bag><event><name>menu</name></event><event><name>&#27;[31m</name></event></bag>");
    }

    /// @return the exit status; what was printed is in output
    long long run(texts_t words) {
        const finished_t finished = run_program(texts_t{OSTRELCTL} + words);
        output = finished.output + finished.errors;
        return finished.status;
    }

    texts_t previewed(const texts_t& features) {
        run(texts_t{"preview", "--product", "product", "--product-version", "1 & 2", "--product-folder",
                    folder.u8string()} +
            features);
        texts_t bodies;
        std::istringstream lines(output);
        for (std::string line; std::getline(lines, line);)
            if (line.rfind("  v=1&", 0) == 0)
                bodies.push_back(line.substr(2));
        return bodies;
    }

    texts_t received(const texts_t& features) const {
        const auto before = static_cast<std::ptrdiff_t>(collector.bodies().size());
        const std::string path = folder.u8string();
        const settor2_product_locations_t locations = {{1, 0, 0}, "", path.c_str(), "", 0};
        settor2_install_product_locations(&locations);
        statistic_handle_t* const handle = ostrel_create_statistic("product", "1 & 2");
        for (const std::string& feature : features)
            ostrel_notify_feature_usage(handle, feature.c_str());
        ostrel_destroy_statistic(handle);
        settor2_install_product_locations(nullptr);
        const texts_t bodies = collector.bodies();
        return {bodies.begin() + before, bodies.end()};
    }

    /// What is printed and returned; paths and the system's name are replaced by words.
    std::string transcript() {
        const std::string subject = " --product product --product-folder PRODUCT";
        std::string text;
        for (const std::string& command :
             {"status" + subject, "status" + subject + " --json", "preview" + subject + " run.a no",
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

    /// Every file with its content.
    std::map<fs::path, std::string> state() const {
        std::map<fs::path, std::string> files;
        for (const auto& entry : fs::recursive_directory_iterator(profile.local_app_data()))
            files[entry.path()] = entry.is_directory() ? "" : read_file(entry.path()).value_or("");
        return files;
    }

    profile_t profile;
    const children_app_data_t shared{profile.local_app_data()};
    const collector_t collector;
    const fs::path folder = profile.folder() / "pro";
    std::string output;
};

} // namespace

TEST_F(ostrelctl, a_preview_is_what_a_collector_receives) {
    const struct {
        const char* answer;
        const char* force;
        int days;
        bool has_lock; ///< a host then counts no earlier day
        std::size_t hits;
    } rows[] = {
        {"1", "", 3, false, 3}, {"1", "", 4, true, 3}, {"0", "", 4, false, 0}, {"0", "1", 2, false, 3}};
    const auto today = OSTREL_NAMESPACE::last_active_dates_t::today();
    const std::string day = "<item><Y type=\"int\">" + std::to_string(today.year) +
                            "</Y><M type=\"int\">1</M><D type=\"int\">1</D></item>";
    const fs::path lock = profile.statistic_dir() / "last_active_dates.lock";
    write_file(profile.statistic_dir() / "uuid.xml", "<bag><UUID>an id</UUID></bag>");
    for (const auto& row : rows) {
        std::string days;
        for (int i = 0; i < row.days; ++i)
            days += day;
        write_file(profile.statistic_dir() / "last_active_dates.xml", "<bag>" + days + "</bag>");
        write_file(profile.virk(), row.answer);
        if (row.has_lock)
            write_file(lock, "");
        profile.set("NORVANE_FORCE_FEEDBACK", row.force);
        const auto before = state();
        const texts_t expected = previewed({"menu.caf\xC3\xA9 x", "menu", "nothing", "run.tool", "run.a.b"});
        EXPECT_EQ(state(), before);
        EXPECT_EQ(expected.size(), row.hits);
        EXPECT_EQ(expected, received({"menu.caf\xC3\xA9 x", "menu", "nothing", "run.tool", "run.a.b"}));
        fs::remove(lock);
    }
}

TEST_F(ostrelctl, whole_outputs_follow_the_decision) {
    const struct {
        const char* name;
        const char* domain;
        const char* url;
        std::map<std::string, std::string> files; ///< below the company folder
    } cases[] = {
        {"agreed",
         "127.0.0.1",
         "http://me:pa@ss@collector/\x1B[2J",
         {{"virk", "1"},
          {"product/settings/statistic/uuid.xml", "<bag><UUID>i&#27;d</UUID></bag>"},
          {"product/settings/statistic/last_active_dates.xml",
           "<bag><item><Y type=\"int\">2014</Y><M type=\"int\">1</M><D type=\"int\">1</D></item></bag>"}}},
        {"refused",
         "127.0.0.1",
         "http://collector/",
         {{"virk", "0"},
          {"product/settings/statistic/uuid.xml", "<bag><UUID>"},
          {"product/settings/statistic/last_active_dates.lock", ""}}},
        {"inside", "10.1.2.3", "", {}},
    };
    profile.set("all_proxy", "http://me:se@cret@proxy:8080"); // Wine takes http_proxy for the machine's
    profile.set("no_proxy", "localhost");
    for (const auto& [name, domain, url, files] : cases) {
        profile.set("OSTREL_CORPORATE_DOMAIN", domain);
        profile.set("OSTREL_COLLECTION_URL", url);
        fs::remove_all(profile.company());
        for (const auto& [path, content] : files)
            write_file(profile.company() / path, content);
        for (const auto& entry : fs::recursive_directory_iterator(profile.folder()))
            fs::permissions(entry.path(), entry.is_directory() ? fs::perms(0700) : fs::perms(0600));
        const std::string expected = OSTREL_TEST_SOURCE "/tests/data/ostrelctl_" + std::string(name) + ".txt";
        const std::string text = transcript() + "(end)", wanted = expected_text(expected) + "(end)";
        const auto at =
            std::mismatch(text.begin(), text.end(), wanted.begin(), wanted.end()).first - text.begin();
        const std::size_t line = text.rfind('\n', static_cast<std::size_t>(at)) + 1;
        EXPECT_EQ(text.substr(line, 200), wanted.substr(line, 200)) << expected;
    }
}

TEST_F(ostrelctl, every_verdict_has_its_reason_and_its_exit_status) {
    const struct {
        const char* variable;
        const char* value;
        long long status;
        const char* words;
    } cases[] = {
        {"NORVANE_FORCE_FEEDBACK", "1", 0, "yes: the environment forces it\n"},
        {"NORVANE_DISABLE_FEEDBACK", "1", 1, "no: the environment switches it off\n"},
        {"OSTREL_CORPORATE_DOMAIN", "10.0.0.1", 1, "no: this machine is inside the maker's network\n"},
        {"NORVANE_FORCE_UUID", "i", 1, "no: the user has not agreed\n"},
    };
    for (const auto& [variable, value, status, words] : cases) {
        SCOPED_TRACE(words);
        profile.set(variable, value);
        EXPECT_EQ(run({"status"}), status);
        EXPECT_EQ(output.substr(output.find("  ") + 2, std::strlen(words)), words);
        profile.unset(variable);
        profile.set("OSTREL_CORPORATE_DOMAIN", "127.0.0.1");
    }
    write_file(profile.statistic_dir("vemtra") / "uuid.xml", "<bag/>");
    EXPECT_EQ(run({"status"}), 1);
    EXPECT_EQ(output.find("now?  no: there is no machine id\n"), 36U);
    fs::remove_all(profile.company());
    write_file(profile.company(), "");
    EXPECT_EQ(run({"status"}), 1);
    EXPECT_EQ(output.find("now?  no: creating an object fails: "), 36U);
}

TEST_F(ostrelctl, commands_change_only_the_answer_and_report_failures) {
    const struct {
        const char* arguments;
        long long status;
        const char* words;
        std::size_t files; ///< the company folder and the answer
    } rows[] = {
        {"consent", 1, "answer: none", 0},
        {"consent forget", 0, "answer: none", 0},
        {"products", 0, "No product keeps data", 0},
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
    for (const auto& row : rows) {
        SCOPED_TRACE(row.arguments);
        EXPECT_EQ(run(words_of(row.arguments)), row.status);
        EXPECT_NE(output.find(row.words), std::string::npos) << output;
        EXPECT_EQ(state().size(), row.files);
    }
    write_file(profile.statistic_dir("b") / "uuid.xml", "");
    fs::create_directories(profile.statistic_dir("a"));
    EXPECT_EQ(run({"products"}), 0);
    EXPECT_LT(output.find("a\n   " + profile.statistic_dir("a").u8string()), output.find("b\n   "));
}

TEST_F(ostrelctl, the_manual_explains_each_json_field_and_code) {
    const std::string manual = *read_file(OSTREL_TEST_SOURCE "/docs/ostrelctl.1");
    std::string names = *read_file(OSTREL_TEST_SOURCE "/tools/ostrelctl/codes.cpp");
    names.erase(0, names.find("code_of"));
    for (const char* const name : {"agreed", "refused", "inside"}) {
        const std::string text =
            *read_file(OSTREL_TEST_SOURCE "/tests/data/ostrelctl_" + std::string(name) + ".txt");
        const std::regex key("\"[a-z_]+\":");
        for (std::sregex_iterator found(text.begin(), text.end(), key), end; found != end; ++found)
            names += found->str();
    }
    const std::regex quoted("\"([a-z_]+)\"");
    for (std::sregex_iterator found(names.begin(), names.end(), quoted), end; found != end; ++found)
        EXPECT_NE(manual.find("\\fB" + found->str(1) + "\\fR"), std::string::npos) << found->str(1);
}
