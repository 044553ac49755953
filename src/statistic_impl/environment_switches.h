// The environment switches: variables with which a user or an administrator turns collection on or off.
#pragma once

#include "statistic_impl/statistic_impl.h"

#include <array>

namespace OSTREL_NAMESPACE {

/// An environment variable, and the state that applies if the variable is set.
struct switch_t {
    const wchar_t* variable;
    statistic_impl_t::env_vars_state_t state;
};

/// The switches in their order. The first switch that is set decides. The forcing switch is the last, so
/// every disabling switch overrides it.
extern const std::array<switch_t, 4> collection_switches;

/// Whether the variable is set and not empty. Any value counts, also "0" and "false".
bool is_set(const switch_t& collection_switch);

/// The first switch that is set; null if no switch is set.
const switch_t* deciding_switch();

/// The state if no switch is set: evsEnabled, or the state that the build forces.
statistic_impl_t::env_vars_state_t state_without_switches();

} // namespace OSTREL_NAMESPACE
