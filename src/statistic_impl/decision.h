// The rules of the decision whether anything may be collected, for the library and for whoever explains it.
#pragma once

#include "statistic_impl/network_check.h"
#include "statistic_impl/statistic_impl.h"

#include <array>

namespace OSTREL_NAMESPACE {

enum class rule_t { machine_id, switches, network, consent };

/// The first rule that fires decides; the last one always does.
inline constexpr std::array decision_order{rule_t::machine_id, rule_t::switches, rule_t::network,
                                           rule_t::consent};

/// What one rule says.
enum class verdict_t {
    undecided, ///< the rule does not fire
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

constexpr verdict_t judge_switches(statistic_impl_t::env_vars_state_t state) {
    switch (state) {
    case statistic_impl_t::evsDisabled:
        return verdict_t::switched_off;
    case statistic_impl_t::evsEnabledForced:
        return verdict_t::forced_on;
    case statistic_impl_t::evsEnabledUnconditionally:
        return verdict_t::built_on;
    case statistic_impl_t::evsEnabled:
        break;
    }
    return verdict_t::undecided;
}

constexpr verdict_t judge_network(network_check_t check) {
    if (check == ncNotExcluded)
        return verdict_t::undecided;
    return check == ncExcluded ? verdict_t::inside_network : verdict_t::network_unknown;
}

/// Asks @p facts for what the rule rests on, and for nothing else: has_machine_id(), switches(), network() or
/// consent().
template <class Facts>
verdict_t judge(rule_t rule, const Facts& facts) {
    switch (rule) {
    case rule_t::machine_id:
        return facts.has_machine_id() ? verdict_t::undecided : verdict_t::no_machine_id;
    case rule_t::switches:
        return judge_switches(facts.switches());
    case rule_t::network:
        return judge_network(facts.network());
    case rule_t::consent:
        break;
    }
    return facts.consent() == vsEnabled ? verdict_t::agreed : verdict_t::not_agreed;
}

/// The decision: facts behind the first rule that fires are not asked for. So the forced states skip network
/// and consent: forcing works inside the corporate network too.
template <class Facts>
verdict_t decide(const Facts& facts) {
    verdict_t verdict = verdict_t::undecided;
    for (const rule_t rule : decision_order)
        if (verdict == verdict_t::undecided)
            verdict = judge(rule, facts);
    return verdict;
}

} // namespace OSTREL_NAMESPACE
