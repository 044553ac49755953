// The environment switches: variables with which a user or an administrator turns collection on or off.
#include "statistic_impl/environment_switches.h"

#include "platform/environment.h"

#include <algorithm>

namespace OSTREL_NAMESPACE {

const std::array<switch_t, 4> collection_switches{{
    {L"NORVANE_STATISTICS_DISABLE", statistic_impl_t::evsDisabled},
    {L"NORVANE_DONOTSEND_FEEDBACK", statistic_impl_t::evsDisabled},
    {L"NORVANE_DISABLE_FEEDBACK", statistic_impl_t::evsDisabled},
    {L"NORVANE_FORCE_FEEDBACK", statistic_impl_t::evsEnabledForced},
}};

// A value that is not valid text still counts as set. Otherwise an opt-out would be lost.
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

} // namespace OSTREL_NAMESPACE
