// The decision whether this object may collect and send.
#include "statistic_impl/decision.h"

#include "statistic_impl/log.h"

namespace OSTREL_NAMESPACE {

namespace {

// The two outcomes of the consent file are logged where that is read.
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
    case verdict_t::agreed:
    case verdict_t::not_agreed:
        break;
    }
}

} // namespace

bool statistic_impl_t::is_enabled() const {
    OSTREL_TRACE_CALL(policy_log, L"bool " OSTREL_NAMESPACE_TEXT L"::statistic_impl_t::is_enabled() const");
    struct facts_t {
        const statistic_impl_t& object;
        bool has_machine_id() const { return !object.m_uuid.empty(); }
        static env_vars_state_t switches() { return get_env_vars_state(); }
        network_check_t network() const { return check_excluded_network(object.m_corporate_domain); }
        virk_state_t consent() const { return object.get_consent_state(); }
    };
    const verdict_t verdict = decide(facts_t{*this});
    log_verdict(verdict);
    return allows(verdict);
}

} // namespace OSTREL_NAMESPACE
