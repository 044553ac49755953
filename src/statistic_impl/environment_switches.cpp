// The environment switches with which a user or an administrator decides for the whole process.
#include "platform/environment.h"
#include "statistic_impl/log.h"
#include "statistic_impl/statistic_impl.h"

namespace OSTREL_NAMESPACE {

namespace {

// Any non-empty value counts, "0" and "false" included, and also one that is no text: read as text it would
// be empty, and a user who switched collection off would be counted all the same.
bool is_set(const wchar_t* variable) {
    return ostrel_platform::is_variable_set(variable);
}

} // namespace

statistic_impl_t::env_vars_state_t statistic_impl_t::get_env_vars_state() {
    OSTREL_TRACE_CALL(
        policy_log,
        OSTREL_NAMESPACE_TEXT L"::statistic_impl_t::env_vars_state_"
                              L"t " OSTREL_NAMESPACE_TEXT L"::statistic_impl_t::get_env_vars_state()");
    for (const wchar_t* const variable :
         {L"NORVANE_STATISTICS_DISABLE", L"NORVANE_DONOTSEND_FEEDBACK", L"NORVANE_DISABLE_FEEDBACK"}) {
        if (!is_set(variable))
            continue;
        OSTREL_LOG(policy_log, trace, L"Return 'evsDisabled' - " << variable << L" is set");
        return evsDisabled;
    }
    if (is_set(L"NORVANE_FORCE_FEEDBACK")) {
        OSTREL_LOG(policy_log, trace, L"Return 'evsEnabledForced' - NORVANE_FORCE_FEEDBACK is set");
        return evsEnabledForced;
    }
#ifdef ENABLE_UNCONDITIONAL_DELIVERY
    OSTREL_LOG(policy_log, trace, L"Return 'evsEnabledUnconditionally'");
    return evsEnabledUnconditionally;
#else
    OSTREL_LOG(policy_log, trace, L"Return 'evsEnabled'");
    return evsEnabled;
#endif
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): users of the class call it on an object
bool statistic_impl_t::is_send_files_disabled() const {
    OSTREL_TRACE_CALL(policy_log,
                      L"bool " OSTREL_NAMESPACE_TEXT L"::statistic_impl_t::is_send_files_disabled() const");
    if (is_set(L"NORVANE_DONOTSEND_FEEDBACK")) {
        OSTREL_LOG(policy_log, trace, L"Return 'true' - NORVANE_DONOTSEND_FEEDBACK is enabled");
        return true;
    }
    OSTREL_LOG(policy_log, trace, L"Return 'false'");
    return false;
}

} // namespace OSTREL_NAMESPACE
