// The rules that decide whether anything may be collected.
#include "statistic_impl/decision.h"

#include "statistic_impl/log.h"

namespace OSTREL_NAMESPACE {

verdict_t judge_switches(statistic_impl_t::env_vars_state_t state) {
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

verdict_t judge_network(network_check_t check) {
    if (check == ncNotExcluded)
        return verdict_t::undecided;
    return check == ncExcluded ? verdict_t::inside_network : verdict_t::network_unknown;
}

decision_t decide(const facts_t& facts) {
    if (!facts.has_machine_id)
        return {rule_t::machine_id, verdict_t::no_machine_id};
    if (const verdict_t verdict = judge_switches(facts.switches()); verdict != verdict_t::undecided)
        return {rule_t::switches, verdict};
    if (const verdict_t verdict = judge_network(facts.network()); verdict != verdict_t::undecided)
        return {rule_t::network, verdict};
    return {rule_t::consent, facts.consent() == vsEnabled ? verdict_t::agreed : verdict_t::not_agreed};
}

void log_verdict(verdict_t verdict) {
    switch (verdict) {
    case verdict_t::no_machine_id:
        OSTREL_LOG(policy_log, info, L"Return 'false' - empty uuid. reporting disabled");
        break;
    case verdict_t::switched_off:
        OSTREL_LOG(policy_log, trace, L"Return 'false' - statistic disabled due to environment variables");
        break;
    case verdict_t::forced_on:
        OSTREL_LOG(policy_log, trace,
                   L"Return 'true' - statistic forcefully enabled by environment variables");
        break;
    case verdict_t::built_on:
        OSTREL_LOG(policy_log, trace,
                   L"Return 'true' - statistic forcefully enabled by build time "
                   L"ENABLE_UNCONDITIONAL_DELIVERY option");
        break;
    case verdict_t::inside_network:
        OSTREL_LOG(policy_log, trace, L"Return 'false' - excluded network");
        break;
    case verdict_t::network_unknown:
        OSTREL_LOG(policy_log, trace, L"Return 'false' - network error");
        break;
    case verdict_t::undecided:
    case verdict_t::no_object:
    case verdict_t::agreed:
    case verdict_t::not_agreed:
        break;
    }
}

} // namespace OSTREL_NAMESPACE
