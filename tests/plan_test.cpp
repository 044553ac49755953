// The plan says what a new object finds, creates and decides; both are asked in each situation.
#include "statistic_impl/plan.h"

#include "statistic_impl/last_active_dates.h"
#include "statistic_impl_ga/statistic_impl_ga.h"
#include "support/log_capture.h"
#include "support/profile.h"

#include <gtest/gtest.h>
#include <map>

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

/// Every file and folder, with its content.
std::map<fs::path, std::string> contents(const profile_t& profile) {
    std::map<fs::path, std::string> found;
    for (const auto& entry : fs::recursive_directory_iterator(profile.folder()))
        found[entry.path()] = entry.is_regular_file() ? read_file(entry.path()).value_or("") : "";
    return found;
}

/// The plan, which must leave everything as it was.
plan_t plan_for(const profile_t& profile, const kiln2::path_t& filter = {}) {
    const auto before = contents(profile);
    plan_t plan = make_plan({L"product", filter}, &resolve);
    EXPECT_EQ(contents(profile), before);
    return plan;
}

texts_t traced(const std::string& signature, const texts_t& inner) {
    return texts_t{"ENTER: " + signature} + inner + texts_t{"EXIT:  " + signature};
}

texts_t switches(const std::string& decision) {
    return traced("ostrel_1_5_6::statistic_impl_t::env_vars_state_t "
                  "ostrel_1_5_6::statistic_impl_t::get_env_vars_state()",
                  {"Return '" + decision});
}

const host_addresses_t unknown{resolution_t::unknown_host, {}}, failed{resolution_t::failed, {}},
    no_ipv4{resolution_t::resolved, {}};
const host_addresses_t inside{resolution_t::resolved, {{{192, 0, 2, 1}}, {{10, 1, 2, 3}}}};
const host_addresses_t outside{resolution_t::resolved,
                               {{{172, 16, 0, 1}}, {{192, 168, 0, 1}}, {{100, 10, 10, 10}}}};
const texts_t no_switch = switches("evsEnabled'");

struct decision_case_t {
    const char* title;
    const char* id;
    const char* variable;
    host_addresses_t answer;
    std::optional<std::string> virk;
    verdict_t verdict;
    texts_t lines;
    std::size_t lookups;
};

std::vector<decision_case_t> decision_cases() {
    const char *const force = "NORVANE_FORCE_FEEDBACK", *const disable = "NORVANE_DISABLE_FEEDBACK";
    const texts_t no_id{"Return 'false' - empty uuid. reporting disabled"};
    const texts_t off = switches("evsDisabled' - NORVANE_DISABLE_FEEDBACK is set") +
                        texts_t{"Return 'false' - statistic disabled due to environment variables"};
    const texts_t on = switches("evsEnabledForced' - NORVANE_FORCE_FEEDBACK is set") +
                       texts_t{"Return 'true' - statistic forcefully enabled by environment variables"};
    const texts_t read = no_switch + no_switch;
    const texts_t yes = read + texts_t{"virk file content read", "virk file enables statistic"};
    const texts_t no = read + texts_t{"virk file content read", "virk file disables statistic"};
    return {
        {"no id", "", force, unknown, "1", verdict_t::no_machine_id, no_id, 0},
        {"switched off", "i", disable, unknown, "1", verdict_t::switched_off, off, 0},
        {"forced", "i", force, inside, "0", verdict_t::forced_on, on, 0},
        {"inside", "i", "no", inside, "1", verdict_t::inside_network,
         no_switch + texts_t{"Return 'false' - excluded network"}, 1},
        {"no resolver", "i", "no", failed, "1", verdict_t::network_unknown,
         no_switch + texts_t{"Return 'false' - network error"}, 1},
        {"outside", "i", "no", outside, "1", verdict_t::agreed, yes, 1},
        {"no IPv4", "i", "no", no_ipv4, "1", verdict_t::agreed, yes, 1},
        {"refused", "i", "no", unknown, "0", verdict_t::not_agreed, no, 1},
        {"no answer", "i", "no", unknown, std::nullopt, verdict_t::not_agreed,
         read + texts_t{"virk file missing/not readable"}, 1},
    };
}

void set_up(const profile_t& profile, const decision_case_t& one) {
    profile.set("NORVANE_FORCE_UUID", one.id);
    if (*one.id == '\0')
        write_file(profile.statistic_dir() / "uuid.xml", "<bag/>");
    profile.set(one.variable, "1");
    profile.set("OSTREL_CORPORATE_DOMAIN", "corp.example");
    resolver_answer = one.answer;
    if (one.virk)
        write_file(profile.virk(), *one.virk);
}

} // namespace

TEST(plan, the_first_rule_that_applies_decides_and_later_ones_are_not_asked) {
    for (const decision_case_t& one : decision_cases()) {
        SCOPED_TRACE(one.title);
        const profile_t profile;
        set_up(profile, one);
        resolved_names.clear();
        EXPECT_EQ(plan_for(profile).decision.verdict, one.verdict);
        const statistic_impl_ga_t statistic(L"product", L"1", &resolve);
        EXPECT_EQ(resolved_names, texts_t(2 * one.lookups, "corp.example"));
        const log_capture_t capture;
        EXPECT_EQ(statistic.is_enabled(), allows(one.verdict));
        EXPECT_EQ(capture.texts(),
                  traced("bool ostrel_1_5_6::statistic_impl_t::is_enabled() const", one.lines));
        for (const log_line_t& line : capture.lines())
            EXPECT_EQ(line.level,
                      one.verdict == verdict_t::no_machine_id && line.text == one.lines[0] ? 20000 : 0);
    }
}

TEST(plan, steps_behind_the_deciding_one_are_not_reached) {
    const profile_t profile;
    const std::pair<std::map<std::string, std::string>, std::vector<int>> cases[] = {
        // Whether each step is reached: folders, machine id, four switches, network, consent.
        {{{"NORVANE_DISABLE_FEEDBACK", "1"}, {"NORVANE_FORCE_FEEDBACK", "1"}}, {1, 1, 1, 1, 1, 0, 0, 0}},
        {{{"NORVANE_FORCE_FEEDBACK", "1"}}, {1, 1, 1, 1, 1, 1, 0, 0}},
        {{}, {1, 1, 1, 1, 1, 1, 1, 1}},
    };
    resolver_answer = outside;
    for (const auto& [variables, reached] : cases) {
        SCOPED_TRACE(reached.size());
        for (const char* const name : {"NORVANE_DISABLE_FEEDBACK", "NORVANE_FORCE_FEEDBACK"})
            profile.set(name, variables.count(name) != 0 ? variables.at(name) : "");
        std::vector<int> found;
        std::size_t deciding = 0;
        for (const step_t& step : plan_for(profile).steps) {
            found.push_back(step.is_reached ? 1 : 0);
            deciding = step.verdict != verdict_t::undecided ? found.size() : deciding;
        }
        EXPECT_EQ(found, reached);
        EXPECT_EQ(static_cast<std::ptrdiff_t>(deciding), std::count(reached.begin(), reached.end(), 1));
    }
}

TEST(plan, an_object_fails_exactly_where_the_plan_sees_an_obstacle) {
    struct case_t {
        const char* title;
        void (*prepare)(const profile_t&);
        bool fails;
    };
    const case_t cases[] = {
        {"nothing yet", [](const profile_t& /*p*/) {}, false},
        {"both folders", [](const profile_t& p) { fs::create_directories(p.statistic_dir()); }, false},
        {"file for the company", [](const profile_t& p) { write_file(p.company(), ""); }, true},
        {"file for the settings", [](const profile_t& p) { write_file(p.statistic_dir(), ""); }, true},
        {"file on the way", [](const profile_t& p) { write_file(p.company() / "product", ""); }, true},
    };
    for (const auto& [title, prepare, fails] : cases) {
        SCOPED_TRACE(title);
        const profile_t profile;
        profile.set("NORVANE_FORCE_FEEDBACK", "1");
        prepare(profile);
        const plan_t plan = plan_for(profile);
        EXPECT_EQ(plan.failure.has_value(), fails);
        EXPECT_EQ(plan.decision.verdict, fails ? verdict_t::no_object : verdict_t::forced_on);
        if (fails)
            EXPECT_THROW(statistic_impl_ga_t(L"product", L"1"), std::exception);
        else
            EXPECT_NO_THROW(statistic_impl_ga_t(L"product", L"1"));
    }
}

TEST(plan, days_count_as_a_new_object_counts_them) {
    const std::string day = "<item><Y type=\"int\">2014</Y><M type=\"int\">1</M><D type=\"int\">1</D></item>";
    const struct {
        const char* lock;
        std::string content;
        days_plan_t::state_t state;
        std::size_t stored, count;
    } cases[] = {
        {"", "<bag>" + day + day + "</bag>", days_plan_t::loaded, 2, 3},
        {"last_active_dates.lock", "<bag>" + day + "</bag>", days_plan_t::locked, 1, 1},
        {"", "<bag>", days_plan_t::malformed, 0, 1},
    };
    for (const auto& [lock, content, state, stored, count] : cases) {
        SCOPED_TRACE(content);
        const profile_t profile;
        const fs::path file = profile.statistic_dir() / "last_active_dates.xml";
        write_file(file, content);
        if (*lock != '\0')
            write_file(profile.statistic_dir() / lock, "");
        const days_plan_t days = plan_for(profile).days;
        EXPECT_EQ(days.state, state);
        EXPECT_EQ(days.stored, stored);
        EXPECT_EQ(days.count, count);
        {
            statistic_impl_ga_t statistic(L"product", L"1");
            statistic.notify_feature_usage(L"menu");
            fs::remove(profile.statistic_dir() / "last_active_dates.lock");
        }
        EXPECT_EQ(stored_active_dates(wide(file))->size(), count);
    }
}
