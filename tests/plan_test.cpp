// Compares the plan with what a new object does, and tests their rules: switches, consent, ids, settings.
#include "statistic_impl/plan.h"

#include "statistic_impl/consent.h"
#include "statistic_impl/deployment.h"
#include "statistic_impl_ga/statistic_impl_ga.h"
#include "support/log_capture.h"
#include "support/profile.h"

#include <regex>
#include <set>

using namespace test_support;
using namespace OSTREL_NAMESPACE;
using ostrel_platform::host_addresses_t;
using ostrel_platform::resolution_t;

namespace {

host_addresses_t resolver_answer;
texts_t resolved_names;

host_addresses_t resolve(const std::string& name) {
    resolved_names.push_back(name);
    return resolver_answer;
}

/// Computes the plan, and checks that no file changes.
plan_t plan_for(const profile_t& profile) {
    const auto before = contents(profile.folder());
    plan_t plan = make_plan({L"product", {}}, &resolve);
    EXPECT_EQ(contents(profile.folder()), before);
    return plan;
}

const host_addresses_t unknown{resolution_t::unknown_host, {}}, failed{resolution_t::failed, {}};
const host_addresses_t no_ipv4{resolution_t::resolved, {}};
const host_addresses_t inside{resolution_t::resolved, {{{192, 0, 2, 1}}, {{10, 1, 2, 3}}}};
const host_addresses_t outside{resolution_t::resolved,
                               {{{172, 16, 0, 1}}, {{192, 168, 0, 1}}, {{100, 10, 10, 10}}}};

const std::string id = "NORVANE_FORCE_UUID", disable = "NORVANE_DISABLE_FEEDBACK",
                  force = "NORVANE_FORCE_FEEDBACK";
const texts_t no_id{"Return 'false' - empty uuid. reporting disabled"};
const texts_t off = traced_switches("evsDisabled' - " + disable + " is set") +
                    texts_t{"Return 'false' - statistic disabled due to environment variables"};
const texts_t on = traced_switches("evsEnabledForced' - " + force + " is set") +
                   texts_t{"Return 'true' - statistic forcefully enabled by environment variables"};
const texts_t no_switch = traced_switches("evsEnabled'"), asked = no_switch + no_switch;
const texts_t excluded = no_switch + texts_t{"Return 'false' - excluded network"};
const texts_t no_network = no_switch + texts_t{"Return 'false' - network error"};
const texts_t yes = asked + texts_t{"virk file content read", "virk file enables statistic"};
const texts_t no = asked + texts_t{"virk file content read", "virk file disables statistic"};
const texts_t none = asked + texts_t{"virk file missing/not readable"};

// The number counts the reached steps: folders, machine id, four switches, network, consent.
const std::tuple<const char*, texts_t, host_addresses_t, const char*, verdict_t, std::size_t, texts_t>
    decision_cases[] = {
        {"no id", {force}, unknown, "1", verdict_t::no_machine_id, 2, no_id},
        {"off", {id, disable, force}, unknown, "1", verdict_t::switched_off, 5, off},
        {"forced", {id, force}, inside, "0", verdict_t::forced_on, 6, on},
        {"inside", {id}, inside, "1", verdict_t::inside_network, 7, excluded},
        {"no resolver", {id}, failed, "1", verdict_t::network_unknown, 7, no_network},
        {"outside", {id}, outside, "1", verdict_t::agreed, 8, yes},
        {"no IPv4", {id}, no_ipv4, "1", verdict_t::agreed, 8, yes},
        {"unknown", {id}, unknown, "0", verdict_t::not_agreed, 8, no},
        {"no answer", {id}, unknown, "", verdict_t::not_agreed, 8, none},
};

struct policy : testing::Test {
    const profile_t profile;
};

} // namespace

TEST(plan, the_first_applicable_rule_sets_the_verdict_and_skips_the_rest) {
    for (const auto& [title, variables, address, answer, verdict, steps, lines] : decision_cases) {
        SCOPED_TRACE(title);
        const profile_t profile;
        write_file(profile.statistic_dir() / "uuid.xml", "<bag/>");
        profile.set("OSTREL_CORPORATE_DOMAIN", "corp.example");
        for (const std::string& variable : variables)
            profile.set(variable, "1");
        if (*answer != '\0')
            write_file(profile.virk(), answer);
        resolver_answer = address;
        resolved_names.clear();
        const plan_t plan = plan_for(profile);
        EXPECT_EQ(plan.decision.verdict, verdict);
        ASSERT_EQ(plan.steps.size(), 8U);
        for (std::size_t i = 0; i < 8; ++i) {
            EXPECT_EQ(plan.steps[i].is_reached, i < steps) << i;
            EXPECT_EQ(plan.steps[i].verdict, i + 1 == steps ? verdict : verdict_t::undecided) << i;
        }
        const log_capture_t capture;
        const statistic_impl_ga_t statistic(L"product", L"1", &resolve);
        EXPECT_EQ(resolved_names, texts_t(steps > 6 ? 2 : 0, "corp.example"));
        EXPECT_EQ(capture.texts(),
                  traced(wide_text + " " + library + "statistic_impl_t::load_uuid()") +
                      traced("bool " + library + "statistic_impl_t::is_enabled() const", lines));
        EXPECT_EQ(capture.lines()[3].level, verdict == verdict_t::no_machine_id ? 20000 : 0);
        EXPECT_EQ(statistic.is_enabled(), allows(verdict));
    }
}

TEST(plan, an_object_fails_exactly_where_the_plan_sees_an_obstacle) {
    for (const char* const file : {"Norvane Corporation", "Norvane Corporation/product",
                                   "Norvane Corporation/product/settings/statistic"}) {
        SCOPED_TRACE(file);
        const profile_t profile;
        EXPECT_NE(plan_for(profile).decision.verdict, verdict_t::no_object);
        write_file(profile.local_app_data() / file, "");
        EXPECT_EQ(plan_for(profile).decision.verdict, verdict_t::no_object);
        EXPECT_THROW(statistic_impl_ga_t(L"product", L"1"), std::exception);
    }
}

TEST(plan, the_machine_id_is_forced_or_stored_or_created_or_missing) {
    const std::string stored = "<bag><UUID>any form \xC3\xA9</UUID></bag>";
    const std::string fresh = "[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}";
    const std::tuple<const char*, std::string, uuid_source_t, std::string> cases[] = {
        {"caf\xC3\xA9", stored, uuid_source_t::forced, "caf\xC3\xA9"},
        {"", stored, uuid_source_t::stored, "any form \xC3\xA9"},
        {"", "<bag><uuid>3F2A0C91</uuid></bag>", uuid_source_t::without_id, ""},
        {"", "<bag><UUID type=\"int\">5</UUID></bag>", uuid_source_t::without_id, ""},
        {"", "<bag><UUID><UUID>nested</UUID></UUID></bag>", uuid_source_t::without_id, ""},
        {"", "<bag><UUID type=\"string\"/></bag>", uuid_source_t::without_id, ""},
        {"", "<bag><UUID>3F", uuid_source_t::malformed, fresh},
        {"", "<other><UUID>i</UUID></other>", uuid_source_t::malformed, fresh},
        {"", "no file", uuid_source_t::missing, fresh},
    };
    for (const auto& [forced, content, source, form] : cases) {
        SCOPED_TRACE(content);
        const profile_t profile;
        const fs::path file = profile.statistic_dir() / "uuid.xml";
        profile.set("NORVANE_FORCE_UUID", forced);
        if (content != "no file")
            write_file(file, content);
        EXPECT_EQ(plan_for(profile).machine_id.source, source);
        const std::string id = ostrel_platform::to_utf8(statistic_impl_ga_t(L"product", L"1").get_uuid());
        EXPECT_TRUE(std::regex_match(id, std::regex(form))) << id;
        EXPECT_EQ(read_file(file),
                  form == fresh
                      ? "<?xml version=\"1.0\"?>\n<bag>\n  <UUID type=\"string\">" + id + "</UUID>\n</bag>\n"
                      : content);
    }
}

TEST_F(policy, new_machine_ids_are_random_in_every_digit) {
    for (const std::size_t place : {0, 4, 9, 14, 19, 24, 28, 32}) {
        SCOPED_TRACE(place);
        std::set<std::wstring> digits;
        for (int i = 0; i < 4000; ++i)
            digits.insert(generate_uuid().substr(place, 4));
        EXPECT_GT(digits.size(), 3750U); // expected: about 3880; 3550 if two bits never change
    }
}

TEST_F(policy, an_id_that_cannot_be_stored_changes_with_every_object) {
    fs::create_directories(profile.statistic_dir() / "uuid.xml" / "in the way");
    const auto id_in_use = [] { return statistic_impl_ga_t(L"product", L"1").get_uuid(); };
    const std::wstring first = id_in_use();
    EXPECT_EQ(first.size(), 36U);
    EXPECT_NE(id_in_use(), first);
}

TEST_F(policy, a_switch_of_higher_priority_wins_whatever_its_value) {
    const std::tuple<std::string, const char*, std::string, int, virk_state_t, bool> rising[] = {
        {"NORVANE_FORCE_FEEDBACK", "no", "evsEnabledForced", 1, vsEnabled, false},
        {"NORVANE_DISABLE_FEEDBACK", " ", "evsDisabled", 3, vsDisabled, false},
        {"NORVANE_DONOTSEND_FEEDBACK", "false", "evsDisabled", 3, vsDisabled, true},
        {"NORVANE_STATISTICS_DISABLE", "1", "evsDisabled", 3, vsDisabled, true}};
    for (const auto& [variable, value, name, state, consent, sends_no_files] : rising) {
        SCOPED_TRACE(variable);
        profile.set(variable, value);
        // Created last: its thread reads the environment, so no variable may change while it exists.
        const statistic_impl_ga_t statistic(L"product", L"1");
        log_capture_t capture;
        EXPECT_EQ(statistic_impl_t::get_env_vars_state(), state);
        EXPECT_EQ(capture.texts(), traced_switches(name + "' - " + variable + " is set"));
        EXPECT_EQ(statistic.get_consent_state(), consent);
        capture.clear();
        EXPECT_EQ(statistic.is_send_files_disabled(), sends_no_files);
        EXPECT_EQ(capture.texts(),
                  traced("bool " + library + "statistic_impl_t::is_send_files_disabled() const",
                         {sends_no_files ? "Return 'true' - NORVANE_DONOTSEND_FEEDBACK is enabled"
                                         : "Return 'false'"}));
    }
}

TEST_F(policy, only_the_word_1_at_the_start_of_the_file_is_consent) {
    const std::string almost_a_block(255, '\n'); // the file is read in blocks of 256 bytes
    const std::pair<virk_state_t, texts_t> cases[] = {
        {vsEnabled, {"1", " \t\r\n1\n", "1 0", std::string(5000, '\n') + "1 ", almost_a_block + "1 "}},
        {vsDisabled,
         {"0", "01", "10", "", " \n", std::string("1\0", 2), "1.0", "0 1", "\xEF\xBB\xBF\x31",
          almost_a_block + "10"}}};
    for (const auto& [state, contents] : cases)
        for (const std::string& content : contents) {
            SCOPED_TRACE(content);
            write_file(profile.virk(), content);
            EXPECT_EQ(read_consent(wide(profile.virk())), state);
        }
    EXPECT_EQ(read_consent(fs::exists("/dev/null") ? L"/dev/null" : L"NUL"), vsDisabled);
    EXPECT_EQ(read_consent(wide(profile.folder())), vsUnknown);
}

TEST_F(policy, nothing_is_written_without_a_consent_path) {
    const fs::path former = fs::current_path(), draft = profile.folder() / ".tmp";
    write_file(draft, "the host's");
    fs::current_path(profile.folder());
    EXPECT_FALSE(write_consent(L"", true));
    fs::current_path(former);
    EXPECT_EQ(read_file(draft), "the host's");
}

TEST_F(policy, the_endpoint_and_the_domain_are_built_in) {
    profile.set("OSTREL_CORPORATE_DOMAIN", "");
    EXPECT_EQ(corporate_domain(), "corp.norvane.example");
    EXPECT_EQ(collection_url(), "http://www.google-analytics.com/collect");
}
