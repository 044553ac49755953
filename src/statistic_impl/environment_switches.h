// The environment switches with which a user or an administrator decides for the whole process.
#pragma once

#include "statistic_impl/statistic_impl.h"

#include <array>

namespace OSTREL_NAMESPACE {

/// A variable, and the state that it causes if it is set.
struct switch_t {
    const wchar_t* variable;
    statistic_impl_t::env_vars_state_t state;
};

/// The switches in their order. The first one that is set decides, so every disabling switch wins over the
/// forcing one.
extern const std::array<switch_t, 4> collection_switches;

/// Whether the variable is set and not empty. Any value counts, "0" and "false" included.
bool is_set(const switch_t& collection_switch);

/// The switch that decides now; null if none is set.
const switch_t* deciding_switch();

/// The state if no switch is set: evsEnabled, or the state that the build forces.
statistic_impl_t::env_vars_state_t state_without_switches();

} // namespace OSTREL_NAMESPACE
