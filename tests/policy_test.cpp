// What the policy reads and writes: machine ids, switches, the user's answer and the deployment's settings.
#include "ostrel/ostrel.h"
#include "statistic_impl/consent.h"
#include "statistic_impl/deployment.h"
#include "statistic_impl/machine_id.h"
#include "statistic_impl_ga/statistic_impl_ga.h"
#include "support/log_capture.h"
#include "support/profile.h"

#include <gtest/gtest.h>
#include <set>

using namespace test_support;
using namespace OSTREL_NAMESPACE;

namespace {

struct policy : testing::Test {
    const profile_t profile;
};

const texts_t no_switch = traced_switches("evsEnabled'");

std::wstring id_in_use() {
    return statistic_impl_ga_t(L"product", L"1").get_uuid();
}

} // namespace

TEST_F(policy, new_machine_ids_are_random_in_every_digit) {
    std::vector<std::set<wchar_t>> digits(36);
    int repetitions = 0; // of the first byte in the second
    for (int i = 0; i < 1000; ++i) {
        const std::wstring id = generate_uuid();
        ASSERT_EQ(id.size(), digits.size());
        for (std::size_t place = 0; place < id.size(); ++place)
            digits[place].insert(id[place]);
        repetitions += id.substr(0, 2) == id.substr(2, 2) ? 1 : 0;
    }
    for (const auto& seen : digits)
        EXPECT_EQ(seen.size(), seen.count(L'-') != 0 ? 1U : 16U) << &seen - digits.data();
    EXPECT_LT(repetitions, 100);
}

TEST_F(policy, an_id_that_cannot_be_stored_changes_with_every_object) {
    fs::create_directories(profile.statistic_dir() / "uuid.xml" / "in the way");
    const std::wstring first = id_in_use();
    EXPECT_EQ(first.size(), 36U);
    EXPECT_NE(id_in_use(), first);
    fs::remove_all(profile.statistic_dir() / "uuid.xml");
    const log_capture_t capture;
    const std::wstring stored = id_in_use();
    EXPECT_EQ(id_in_use(), stored);
    EXPECT_EQ(capture.texts()[0], "ENTER: " + wide_text + " " + library + "statistic_impl_t::load_uuid()");
}

TEST_F(policy, the_first_switch_that_is_set_decides_whatever_its_value) {
    const std::string statistics = "NORVANE_STATISTICS_DISABLE", dont = "NORVANE_DONOTSEND_FEEDBACK",
                      disable = "NORVANE_DISABLE_FEEDBACK", force = "NORVANE_FORCE_FEEDBACK";
    const std::string type = library + "statistic_impl_t::";
    using values_t = std::map<std::string, std::string>;
    const std::tuple<values_t, int, std::string, int> cases[] = {
        {{}, 0, "evsEnabled'", 0},
        {{{force, "no"}}, 1, "evsEnabledForced' - " + force + " is set", 1},
        {{{dont, "false"}}, 3, "evsDisabled' - " + dont + " is set", 2},
        {{{disable, " "}, {force, "1"}}, 3, "evsDisabled' - " + disable + " is set", 2},
        {{{disable, "1"}, {dont, "1"}}, 3, "evsDisabled' - " + dont + " is set", 2},
        {{{dont, "1"}, {statistics, "1"}}, 3, "evsDisabled' - " + statistics + " is set", 2}};
    for (const auto& [variables, state, decision, consent] : cases) {
        SCOPED_TRACE(testing::PrintToString(variables));
        for (const std::string& name : {statistics, dont, disable, force})
            profile.set(name, variables.count(name) != 0 ? variables.at(name) : "");
        // Created last: its thread reads the environment, which must not change meanwhile.
        const statistic_impl_ga_t statistic(L"product", L"1");
        log_capture_t capture;
        EXPECT_EQ(statistic_impl_t::get_env_vars_state(), state);
        EXPECT_EQ(capture.texts(), traced_switches(decision));
        EXPECT_EQ(statistic.get_consent_state(), consent);
        capture.clear();
        const bool is_disabled = variables.count(dont) != 0;
        EXPECT_EQ(statistic.is_send_files_disabled(), is_disabled);
        EXPECT_EQ(capture.texts(),
                  traced("bool " + type + "is_send_files_disabled() const",
                         {is_disabled ? "Return 'true' - " + dont + " is enabled" : "Return 'false'"}));
    }
}

TEST_F(policy, only_the_first_word_of_the_consent_file_counts) {
    const statistic_impl_ga_t statistic(L"product", L"1");
    log_capture_t capture;
    const std::tuple<int, texts_t, texts_t> cases[] = {
        {1,
         {"virk file content read", "virk file enables statistic"},
         {"1", " \t\r\n1\n", "1 0", std::string(5000, '\n') + "1 "}},
        {2,
         {"virk file content read", "virk file disables statistic"},
         {"0", "01", "10", "", " \n", std::string("1\0", 2), "1.0", "0 1", "\xEF\xBB\xBF\x31"}}};
    for (const auto& [state, lines, contents] : cases)
        for (const std::string& content : contents) {
            SCOPED_TRACE(content.substr(0, 20));
            write_file(profile.virk(), content);
            capture.clear();
            EXPECT_EQ(statistic.get_consent_state(), state);
            EXPECT_EQ(capture.texts(), no_switch + lines);
        }
    consent_word_t word; // of three blocks
    EXPECT_TRUE(word.take(" \n"));
    EXPECT_TRUE(word.take("1"));
    EXPECT_TRUE(word.is_consent());
    EXPECT_FALSE(word.take("1")) << "more of the word changes the answer, so nothing more is read";
    EXPECT_FALSE(word.is_consent());
    EXPECT_FALSE(consent_word_t().take("1 "));
}

TEST_F(policy, a_recorded_answer_is_not_asked_again) {
    statistic_handle_t* const handle = ostrel_create_statistic("product", "1");
    EXPECT_EQ(ostrel_should_ask_user_consent(handle), 1);
    for (const int answer : {0, 1, 0}) {
        SCOPED_TRACE(answer);
        ostrel_set_statistic_collection_enabled(handle, answer);
        EXPECT_EQ(ostrel_should_ask_user_consent(handle), 0);
        EXPECT_EQ(read_file(profile.virk()), std::to_string(answer));
    }
    ostrel_destroy_statistic(handle);
    EXPECT_EQ(read_consent(fs::exists("/dev/null") ? L"/dev/null" : L"NUL"), vsDisabled);
    EXPECT_EQ(read_consent(wide(profile.folder())), vsUnknown);
}

TEST_F(policy, nothing_is_written_without_a_consent_path) {
    const fs::path former = fs::current_path();
    fs::current_path(profile.folder());
    write_file(profile.folder() / ".tmp", "the host's");
    const auto before = contents(".");
    EXPECT_FALSE(write_consent(L"", true));
    EXPECT_EQ(contents("."), before);
    fs::current_path(former);
}

TEST_F(policy, a_deployment_may_replace_the_endpoint_and_the_domain) {
    profile.set("OSTREL_CORPORATE_DOMAIN", "");
    EXPECT_EQ(corporate_domain(), "corp.norvane.example");
    EXPECT_EQ(collection_url(), "http://www.google-analytics.com/collect");
    profile.set("OSTREL_CORPORATE_DOMAIN", "d\xC3\xA9");
    profile.set("OSTREL_COLLECTION_URL", "http://c");
    EXPECT_EQ(corporate_domain(), "d\xC3\xA9");
    EXPECT_EQ(collection_url(), "http://c");
}
