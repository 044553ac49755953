// Whether anything may be collected: switches, network, consent, and the order in which they decide.
#include "statistic_impl_ga/statistic_impl_ga.h"

#include "statistic_impl/consent.h"
#include "support/log_capture.h"
#include "support/profile.h"

#include <gtest/gtest.h>

using namespace test_support;
using namespace OSTREL_NAMESPACE;
using ostrel_platform::host_addresses_t;
using ostrel_platform::resolution_t;
using texts_t = std::vector<std::string>;

namespace {

const std::string decision = "bool ostrel_1_5_6::statistic_impl_t::is_enabled() const";
const std::string switches = "ostrel_1_5_6::statistic_impl_t::env_vars_state_t "
                             "ostrel_1_5_6::statistic_impl_t::get_env_vars_state()";
const std::string files = "bool ostrel_1_5_6::statistic_impl_t::is_send_files_disabled() const";

texts_t traced(const std::string& signature, const texts_t& inner) {
    texts_t lines{"ENTER: " + signature};
    lines.insert(lines.end(), inner.begin(), inner.end());
    lines.push_back("EXIT:  " + signature);
    return lines;
}

texts_t operator+(texts_t left, const texts_t& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

const host_addresses_t unknown{resolution_t::unknown_host, {}};
const host_addresses_t inside{resolution_t::resolved, {{{192, 0, 2, 1}}, {{10, 1, 2, 3}}}};
const texts_t no_switch = traced(switches, {"Return 'evsEnabled'"});
const texts_t forced = traced(switches, {"Return 'evsEnabledForced' - NORVANE_FORCE_FEEDBACK is set"});
const texts_t disabled = traced(switches, {"Return 'evsDisabled' - NORVANE_DISABLE_FEEDBACK is set"});

const texts_t consent_read = no_switch + texts_t{"virk file content read", "virk file enables statistic"};
const texts_t refusal_read = no_switch + texts_t{"virk file content read", "virk file disables statistic"};

class policy : public testing::Test {
protected:
    profile_t profile;
};

} // namespace

TEST_F(policy, a_disabling_switch_of_any_value_wins_over_the_forcing_one) {
    const std::string stat = "NORVANE_STATISTICS_DISABLE", dont = "NORVANE_DONOTSEND_FEEDBACK",
                      disable = "NORVANE_DISABLE_FEEDBACK", force = "NORVANE_FORCE_FEEDBACK";
    const struct {
        std::vector<std::pair<std::string, std::string>> variables;
        int state;
        std::string line;
        bool files_disabled;
    } cases[] = {
        {{}, 0, "Return 'evsEnabled'", false},
        {{{stat, ""}, {dont, ""}, {disable, ""}, {force, ""}}, 0, "Return 'evsEnabled'", false},
        {{{force, "no"}}, 1, "Return 'evsEnabledForced' - NORVANE_FORCE_FEEDBACK is set", false},
        {{{stat, "0"}}, 3, "Return 'evsDisabled' - NORVANE_STATISTICS_DISABLE is set", false},
        {{{dont, "false"}}, 3, "Return 'evsDisabled' - NORVANE_DONOTSEND_FEEDBACK is set", true},
        {{{disable, " "}}, 3, "Return 'evsDisabled' - NORVANE_DISABLE_FEEDBACK is set", false},
        {{{disable, "1"}, {force, "1"}}, 3, "Return 'evsDisabled' - NORVANE_DISABLE_FEEDBACK is set", false},
        {{{disable, "1"}, {dont, "1"}}, 3, "Return 'evsDisabled' - NORVANE_DONOTSEND_FEEDBACK is set", true},
        {{{dont, "1"}, {stat, "1"}}, 3, "Return 'evsDisabled' - NORVANE_STATISTICS_DISABLE is set", true},
    };
    const statistic_impl_ga_t statistic(L"product", L"1");
    for (const auto& expected : cases) {
        for (const auto& name : {stat, dont, disable, force})
            profile.unset(name);
        for (const auto& [name, value] : expected.variables)
            profile.set(name, value);
        log_capture_t capture;
        EXPECT_EQ(statistic_impl_t::get_env_vars_state(), expected.state);
        EXPECT_EQ(capture.texts(), traced(switches, {expected.line}));
        capture.clear();
        EXPECT_EQ(statistic.is_send_files_disabled(), expected.files_disabled);
        EXPECT_EQ(
            capture.texts(),
            traced(files, {expected.files_disabled ? "Return 'true' - NORVANE_DONOTSEND_FEEDBACK is enabled"
                                                   : "Return 'false'"}));
    }
}

TEST_F(policy, only_the_first_word_of_the_consent_file_counts) {
    const texts_t consents{"1", " \t\r\n1\n", "1 0", std::string(5000, '\n') + "1 "};
    const texts_t refusals{"0",
                           "01",
                           "10",
                           "",
                           " \n",
                           std::string("1\0", 2),
                           std::string(1 << 20, '1'),
                           "1.0",
                           "true",
                           "11",
                           "0 1",
                           "\xEF\xBB\xBF\x31"};
    const statistic_impl_ga_t statistic(L"product", L"1");
    log_capture_t capture;
    EXPECT_EQ(statistic.get_consent_state(), 0);
    EXPECT_EQ(capture.texts(), no_switch + texts_t{"virk file missing/not readable"});
    for (const int state : {1, 2})
        for (const std::string& content : state == 1 ? consents : refusals) {
            write_file(profile.virk(), content);
            capture.clear();
            EXPECT_EQ(statistic.get_consent_state(), state) << content.substr(0, 20);
            EXPECT_EQ(capture.texts(), state == 1 ? consent_read : refusal_read);
        }
    std::filesystem::remove(profile.virk());
    std::filesystem::create_directory(profile.virk());
    EXPECT_EQ(statistic.get_consent_state(), 0);
}

TEST_F(policy, a_word_is_not_read_further_than_the_answer_needs) {
    consent_word_t split;
    EXPECT_TRUE(split.take(" \n"));
    EXPECT_TRUE(split.take("1"));
    EXPECT_TRUE(split.is_consent());
    EXPECT_FALSE(split.take("1"));
    EXPECT_FALSE(split.is_consent());
    EXPECT_FALSE(consent_word_t().take("1 "));
    EXPECT_FALSE(consent_word_t().take("no"));
}

TEST_F(policy, a_switch_answers_for_the_user_without_touching_the_file) {
    const statistic_impl_ga_t statistic(L"product", L"1");
    profile.set("NORVANE_FORCE_FEEDBACK", "1");
    EXPECT_EQ(statistic.get_consent_state(), 1);
    EXPECT_FALSE(std::filesystem::exists(profile.virk()));
    write_file(profile.virk(), "1");
    profile.set("NORVANE_DISABLE_FEEDBACK", "1");
    EXPECT_EQ(statistic.get_consent_state(), 2);
}

TEST_F(policy, the_first_rule_that_fires_decides) {
    const host_addresses_t failed{resolution_t::failed, {}};
    const host_addresses_t no_ipv4{resolution_t::resolved, {}};
    const host_addresses_t outside{resolution_t::resolved,
                                   {{{172, 16, 0, 1}}, {{192, 168, 0, 1}}, {{100, 10, 10, 10}}}};
    const texts_t no_id{"Return 'false' - empty uuid. reporting disabled"};
    const texts_t off =
        disabled + texts_t{"Return 'false' - statistic disabled due to environment variables"};
    const texts_t on =
        forced + texts_t{"Return 'true' - statistic forcefully enabled by environment variables"};
    const texts_t excluded = no_switch + texts_t{"Return 'false' - excluded network"};
    const texts_t error = no_switch + texts_t{"Return 'false' - network error"};
    const texts_t unanswered = no_switch + no_switch + texts_t{"virk file missing/not readable"};
    const struct {
        std::string id;
        std::string variable;
        host_addresses_t answer;
        std::string virk;
        bool enabled;
        texts_t lines;
        std::size_t lookups;
    } cases[] = {
        {"", "NORVANE_FORCE_FEEDBACK", unknown, "1", false, no_id, 0},
        {"i", "NORVANE_DISABLE_FEEDBACK", unknown, "1", false, off, 0},
        {"i", "NORVANE_FORCE_FEEDBACK", inside, "0", true, on, 0},
        {"i", "", inside, "1", false, excluded, 1},
        {"i", "", failed, "1", false, error, 1},
        {"i", "", outside, "1", true, no_switch + consent_read, 1},
        {"i", "", no_ipv4, "1", true, no_switch + consent_read, 1},
        {"i", "", unknown, "0", false, no_switch + refusal_read, 1},
        {"i", "", unknown, "", false, unanswered, 1},
    };
    for (const auto& expected : cases) {
        profile_t own;
        own.set("NORVANE_FORCE_UUID", expected.id);
        if (expected.id.empty())
            write_file(own.statistic_dir() / "uuid.xml", "<bag/>");
        if (!expected.variable.empty())
            own.set(expected.variable, "1");
        own.set("OSTREL_CORPORATE_DOMAIN", "corp.example");
        own.answer_with(expected.answer);
        if (!expected.virk.empty())
            write_file(own.virk(), expected.virk);
        const statistic_impl_ga_t statistic(L"product", L"1");
        EXPECT_EQ(own.resolved_names(), texts_t(expected.lookups, "corp.example"));
        const log_capture_t capture;
        EXPECT_EQ(statistic.is_enabled(), expected.enabled);
        EXPECT_EQ(capture.texts(), traced(decision, expected.lines));
        for (const log_line_t& line : capture.lines())
            EXPECT_EQ(line.level, line.text.find("empty uuid") == std::string::npos ? 0 : 20000);
    }
}

TEST_F(policy, a_recorded_answer_is_one_byte_and_decides_afresh) {
    profile.set("NORVANE_FORCE_UUID", "i");
    write_file(profile.virk(), "a longer answer");
    statistic_impl_ga_t statistic(L"product", L"1");
    EXPECT_FALSE(statistic.is_enabled());
    const std::size_t lookups = profile.resolved_names().size();
    statistic.set_statistic_collection_enabled(true);
    EXPECT_EQ(read_file(profile.virk()), "1");
    EXPECT_EQ(profile.resolved_names().size(), lookups + 1);
    EXPECT_TRUE(statistic.is_enabled());
    statistic.set_statistic_collection_enabled(false);
    EXPECT_EQ(read_file(profile.virk()), "0");
    EXPECT_FALSE(statistic.is_enabled());
}

TEST_F(policy, an_answer_that_cannot_be_written_is_ignored_in_silence) {
    profile.set("NORVANE_FORCE_UUID", "i");
    std::filesystem::create_directories(profile.virk());
    statistic_impl_ga_t statistic(L"product", L"1");
    EXPECT_NO_THROW(statistic.set_statistic_collection_enabled(true));
    EXPECT_EQ(statistic.get_consent_state(), 0);
}
