// The rules that decide whether anything may be collected.
#pragma once

#include "statistic_impl/network_check.h"
#include "statistic_impl/statistic_impl.h"

#include <functional>

namespace OSTREL_NAMESPACE {

/// The rules in their order. The first one that applies decides; the last one always applies.
enum class rule_t {
    folders, ///< without them no object is created; decide starts after this rule
    machine_id,
    switches,
    network,
    consent,
};

/// What a rule says.
enum class verdict_t {
    undecided, ///< the rule does not apply
    no_object, ///< creating an object fails
    no_machine_id,
    switched_off,
    forced_on, ///< by the environment
    built_on,  ///< by the build
    inside_network,
    network_unknown,
    agreed,
    not_agreed,
};

constexpr bool allows(verdict_t verdict) {
    return verdict == verdict_t::forced_on || verdict == verdict_t::built_on || verdict == verdict_t::agreed;
}

verdict_t judge_switches(statistic_impl_t::env_vars_state_t state);

verdict_t judge_network(network_check_t check);

/// What the rules need to know. A function is called only if no earlier rule has decided.
struct facts_t {
    bool has_machine_id = false;
    std::function<statistic_impl_t::env_vars_state_t()> switches;
    std::function<network_check_t()> network;
    std::function<virk_state_t()> consent;
};

struct decision_t {
    rule_t rule = rule_t::folders;
    verdict_t verdict = verdict_t::undecided;
};

/// The decision, and the rule that takes it. The forced states decide before network and consent: forcing
/// works inside the corporate network too.
decision_t decide(const facts_t& facts);

/// Logs the verdict of a rule. read_consent logs the verdicts of the consent file itself.
void log_verdict(verdict_t verdict);

} // namespace OSTREL_NAMESPACE
