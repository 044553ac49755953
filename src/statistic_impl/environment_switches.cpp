// The environment switches with which a user or an administrator decides for the whole process.
#include "statistic_impl/environment_switches.h"

#include "platform/environment.h"
#include "statistic_impl/log.h"

#include <algorithm>

namespace OSTREL_NAMESPACE {

const std::array<switch_t, 4> collection_switches{{
    {L"NORVANE_STATISTICS_DISABLE", statistic_impl_t::evsDisabled},
    {L"NORVANE_DONOTSEND_FEEDBACK", statistic_impl_t::evsDisabled},
    {L"NORVANE_DISABLE_FEEDBACK", statistic_impl_t::evsDisabled},
    {L"NORVANE_FORCE_FEEDBACK", statistic_impl_t::evsEnabledForced},
}};

// Also one that is no text is set: read as text it would be empty, and a user who switched collection off
// would be counted all the same.
bool is_set(const switch_t& collection_switch) {
    return ostrel_platform::is_variable_set(collection_switch.variable);
}

const switch_t* deciding_switch() {
    const auto* const found = std::find_if(collection_switches.begin(), collection_switches.end(), &is_set);
    return found == collection_switches.end() ? nullptr : found;
}

statistic_impl_t::env_vars_state_t state_without_switches() {
#ifdef ENABLE_UNCONDITIONAL_DELIVERY
    return statistic_impl_t::evsEnabledUnconditionally;
#else
    return statistic_impl_t::evsEnabled;
#endif
}

statistic_impl_t::env_vars_state_t statistic_impl_t::get_env_vars_state() {
    OSTREL_TRACE_CALL(
        policy_log,
        OSTREL_NAMESPACE_TEXT L"::statistic_impl_t::env_vars_state_"
                              L"t " OSTREL_NAMESPACE_TEXT L"::statistic_impl_t::get_env_vars_state()");
    if (const switch_t* const found = deciding_switch()) {
        const wchar_t* const name = found->state == evsDisabled ? L"evsDisabled" : L"evsEnabledForced";
        OSTREL_LOG(policy_log, trace, L"Return '" << name << L"' - " << found->variable << L" is set");
        return found->state;
    }
    const env_vars_state_t state = state_without_switches();
    OSTREL_LOG(policy_log, trace,
               (state == evsEnabled ? L"Return 'evsEnabled'" : L"Return 'evsEnabledUnconditionally'"));
    return state;
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): users of the class call it on an object
bool statistic_impl_t::is_send_files_disabled() const {
    OSTREL_TRACE_CALL(policy_log,
                      L"bool " OSTREL_NAMESPACE_TEXT L"::statistic_impl_t::is_send_files_disabled() const");
    if (ostrel_platform::is_variable_set(L"NORVANE_DONOTSEND_FEEDBACK")) {
        OSTREL_LOG(policy_log, trace, L"Return 'true' - NORVANE_DONOTSEND_FEEDBACK is enabled");
        return true;
    }
    OSTREL_LOG(policy_log, trace, L"Return 'false'");
    return false;
}

} // namespace OSTREL_NAMESPACE
