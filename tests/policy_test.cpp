// Whether anything may be collected: machine id, switches, network, consent, and the order in which they
// decide.
#include "statistic_impl_ga/statistic_impl_ga.h"

#include "ostrel/ostrel.h"
#include "statistic_impl/consent.h"
#include "statistic_impl/deployment.h"
#include "statistic_impl/plan.h"
#include "support/log_capture.h"
#include "support/profile.h"

#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <set>

using namespace test_support;
using namespace OSTREL_NAMESPACE;
using ostrel_platform::host_addresses_t;
using ostrel_platform::resolution_t;

namespace {

texts_t traced(const std::string& signature, const texts_t& inner) {
    return texts_t{"ENTER: " + signature} + inner + texts_t{"EXIT:  " + signature};
}

texts_t switches(const std::string& decision) {
    return traced("ostrel_1_5_6::statistic_impl_t::env_vars_state_t "
                  "ostrel_1_5_6::statistic_impl_t::get_env_vars_state()",
                  {"Return '" + decision});
}

const texts_t no_switch = switches("evsEnabled'");
const texts_t unanswered = no_switch + texts_t{"virk file missing/not readable"};
const texts_t consented = no_switch + texts_t{"virk file content read", "virk file enables statistic"};
const texts_t refused = no_switch + texts_t{"virk file content read", "virk file disables statistic"};

bool is_fresh(const std::wstring& id) {
    return std::regex_match(id, std::wregex(L"[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}"));
}

uuid_source_t planned_source() {
    return make_plan({L"product", {}}).machine_id.source;
}

std::wstring id_in_use() {
    return statistic_impl_ga_t(L"product", L"1").get_uuid();
}

} // namespace

TEST(policy, a_fresh_machine_id_is_random_in_every_digit) {
    std::vector<std::set<wchar_t>> digits(36);
    int repetitions = 0; // of the first byte in the second
    for (int i = 0; i < 1000; ++i) {
        const std::wstring id = generate_uuid();
        ASSERT_TRUE(is_fresh(id));
        for (std::size_t place = 0; place < id.size(); ++place)
            digits[place].insert(id[place]);
        repetitions += id.substr(0, 2) == id.substr(2, 2) ? 1 : 0;
    }
    for (const auto& seen : digits)
        EXPECT_TRUE(seen.size() == 16 || seen == std::set<wchar_t>{L'-'});
    EXPECT_LT(repetitions, 100);
}

TEST(policy, a_machine_id_is_forced_or_stored_or_made_and_a_damaged_file_silences) {
    const profile_t profile;
    const fs::path uuid_file = profile.statistic_dir() / "uuid.xml";
    profile.set("NORVANE_FORCE_UUID", "caf\xC3\xA9");
    EXPECT_EQ(planned_source(), uuid_source_t::forced);
    EXPECT_EQ(id_in_use(), L"caf\u00e9");
    EXPECT_FALSE(fs::exists(uuid_file));
    profile.set("NORVANE_FORCE_UUID", "");
    EXPECT_EQ(planned_source(), uuid_source_t::missing);
    const log_capture_t capture;
    const std::wstring fresh = id_in_use();
    EXPECT_EQ(capture.texts()[0],
              "ENTER: std::basic_string<__wchar_t, std::char_traits<__wchar_t>, std::allocator<__wchar_t>> "
              "ostrel_1_5_6::statistic_impl_t::load_uuid()");
    EXPECT_EQ(read_file(uuid_file), "<?xml version=\"1.0\"?>\n<bag>\n  <UUID type=\"string\">" +
                                        std::string(fresh.begin(), fresh.end()) + "</UUID>\n</bag>\n");
    const std::tuple<std::string, std::wstring, uuid_source_t> cases[] = {
        {"<bag><UUID>any form \xC3\xA9</UUID></bag>", L"any form \u00e9", uuid_source_t::stored},
        {"<bag><uuid>3F2A0C91</uuid></bag>", L"", uuid_source_t::without_id},
        {"<bag><UUID type=\"int\">5</UUID></bag>", L"", uuid_source_t::without_id},
        {"<bag><UUID><UUID>nested</UUID></UUID></bag>", L"", uuid_source_t::without_id},
        {"<bag><UUID>3F", L"new", uuid_source_t::malformed},
        {"<other><UUID>i</UUID></other>", L"new", uuid_source_t::malformed},
    };
    for (const auto& [content, id, source] : cases) { // "new" stands for one that is made and stored
        write_file(uuid_file, content);
        EXPECT_EQ(planned_source(), source) << content;
        const std::wstring used = id_in_use();
        EXPECT_TRUE(id == L"new" ? is_fresh(used) : used == id && read_file(uuid_file) == content) << content;
        EXPECT_EQ(id_in_use(), used);
    }
    fs::remove(uuid_file);
    fs::create_directories(uuid_file / "in the way");
    const std::wstring not_stored = id_in_use();
    EXPECT_TRUE(is_fresh(not_stored) && id_in_use() != not_stored);
}

TEST(policy, a_disabling_switch_of_any_value_wins_over_the_forcing_one_and_answers_for_the_user) {
    const std::string statistics = "NORVANE_STATISTICS_DISABLE", dont = "NORVANE_DONOTSEND_FEEDBACK",
                      disable = "NORVANE_DISABLE_FEEDBACK", force = "NORVANE_FORCE_FEEDBACK";
    const std::tuple<std::map<std::string, std::string>, int, std::string, int> cases[] = {
        {{{statistics, ""}, {dont, ""}, {disable, ""}, {force, ""}}, 0, "evsEnabled'", 0},
        {{{force, "no"}}, 1, "evsEnabledForced' - " + force + " is set", 1},
        {{{dont, "false"}}, 3, "evsDisabled' - " + dont + " is set", 2},
        {{{disable, " "}, {force, "1"}}, 3, "evsDisabled' - " + disable + " is set", 2},
        {{{disable, "1"}, {dont, "1"}}, 3, "evsDisabled' - " + dont + " is set", 2},
        {{{dont, "1"}, {statistics, "1"}}, 3, "evsDisabled' - " + statistics + " is set", 2},
    };
    for (const auto& [variables, state, decision, consent] : cases) {
        const profile_t profile;
        for (const auto& [name, value] : variables)
            profile.set(name, value);
        // Created last: its thread reads the environment, which must not change meanwhile.
        const statistic_impl_ga_t statistic(L"product", L"1");
        log_capture_t capture;
        EXPECT_EQ(statistic_impl_t::get_env_vars_state(), state);
        EXPECT_EQ(capture.texts(), switches(decision));
        EXPECT_EQ(statistic.get_consent_state(), consent);
        capture.clear();
        const bool is_disabled = variables.count(dont) != 0 && !variables.at(dont).empty();
        EXPECT_EQ(statistic.is_send_files_disabled(), is_disabled);
        EXPECT_EQ(capture.texts(),
                  traced("bool ostrel_1_5_6::statistic_impl_t::is_send_files_disabled() const",
                         {is_disabled ? "Return 'true' - NORVANE_DONOTSEND_FEEDBACK is enabled"
                                      : "Return 'false'"}));
    }
}

TEST(policy, only_the_first_word_of_the_consent_file_counts_and_no_more_of_it_is_read) {
    const profile_t profile;
    const statistic_impl_ga_t statistic(L"product", L"1");
    log_capture_t capture;
    EXPECT_EQ(statistic.get_consent_state(), 0);
    EXPECT_EQ(capture.texts(), unanswered);
    const texts_t contents[] = {
        {"1", " \t\r\n1\n", "1 0", std::string(5000, '\n') + "1 "},
        {"0", "01", "10", "", " \n", std::string("1\0", 2), "1.0", "0 1", "\xEF\xBB\xBF\x31"}};
    for (const int state : {1, 2})
        for (const std::string& content : contents[state - 1]) {
            write_file(profile.virk(), content);
            capture.clear();
            EXPECT_EQ(statistic.get_consent_state(), state) << content.substr(0, 20);
            EXPECT_EQ(capture.texts(), state == 1 ? consented : refused);
        }
    consent_word_t split;
    EXPECT_TRUE(split.take(" \n") && split.take("1") && split.is_consent());
    EXPECT_FALSE(split.take("1") || split.is_consent());
    EXPECT_FALSE(consent_word_t().take("1 ") || consent_word_t().take("no"));
}

TEST(policy, an_answer_on_file_is_not_asked_for_again_and_a_device_is_a_refusal) {
    const profile_t profile;
    statistic_handle_t* const handle = ostrel_create_statistic("product", "1");
    EXPECT_EQ(ostrel_should_ask_user_consent(handle), 1);
    for (const int answer : {0, 1, 0}) {
        ostrel_set_statistic_collection_enabled(handle, answer);
        EXPECT_EQ(ostrel_should_ask_user_consent(handle), 0) << answer;
        EXPECT_EQ(read_file(profile.virk()), std::to_string(answer));
    }
    ostrel_destroy_statistic(handle);
    const bool is_posix = fs::exists("/dev/null");
    EXPECT_EQ(read_consent(is_posix ? L"/dev/null" : L"NUL"), vsDisabled);
    EXPECT_EQ(read_consent(wide(profile.folder())), vsUnknown);
}

TEST(policy, without_a_consent_path_nothing_is_written) {
    const profile_t profile;
    const fs::path former = fs::current_path();
    fs::current_path(profile.folder());
    write_file(profile.folder() / ".tmp", "the host's");
    write_consent(L"", true);
    EXPECT_EQ(read_file(".tmp"), "the host's");
    EXPECT_EQ(std::distance(fs::directory_iterator("."), {}), 2);
    fs::current_path(former);
}

TEST(policy, a_deployment_may_replace_the_built_in_endpoint_and_domain) {
    const profile_t profile;
    profile.set("OSTREL_CORPORATE_DOMAIN", "");
    EXPECT_EQ(corporate_domain(), "corp.norvane.example");
    EXPECT_EQ(collection_url(), "http://www.google-analytics.com/collect");
    profile.set("OSTREL_CORPORATE_DOMAIN", "d\xC3\xA9");
    profile.set("OSTREL_COLLECTION_URL", "http://c");
    EXPECT_EQ(corporate_domain(), "d\xC3\xA9");
    EXPECT_EQ(collection_url(), "http://c");
}
