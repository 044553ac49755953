// The rules that decide whether anything may be collected.
#pragma once

#include "statistic_impl/network_check.h"
#include "statistic_impl/statistic_impl.h"

#include <functional>

namespace OSTREL_NAMESPACE {

/// The rules in their order. The first rule that applies decides. The last rule always applies.
enum class rule_t {
    folders, ///< a folder cannot be created. The callers of decide test this rule first.
    machine_id,
    switches,
    network,
    consent,
};

/// The result of one rule.
enum class verdict_t {
    undecided, ///< the rule does not apply
    no_object, ///< creating an object fails
    no_machine_id,
    switched_off,
    forced_on, ///< turned on by the environment
    built_on,  ///< turned on by the build
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

/// The input of the rules. A function is called only if no earlier rule has decided.
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

/// Returns the verdict and the rule that gave it. The forced states come before the network rule, so that
/// forcing also works inside the corporate network.
decision_t decide(const facts_t& facts);

/// Logs the verdict of a rule, except agreed and not_agreed, which read_consent logs.
void log_verdict(verdict_t verdict);

} // namespace OSTREL_NAMESPACE
