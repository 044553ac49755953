// The environment switches with which a user or an administrator decides for the whole process.
#pragma once

#include "statistic_impl/statistic_impl.h"

#include <array>

namespace OSTREL_NAMESPACE {

/// A variable, and what it makes of the decision when it is set.
struct switch_t {
    const wchar_t* variable;
    statistic_impl_t::env_vars_state_t state;
};

/// In their order: the first that is set decides, so that every disabling one wins over the forcing one.
extern const std::array<switch_t, 4> collection_switches;

/// Whether the variable is set now. Any non-empty value counts, "0" and "false" included.
bool is_set(const switch_t& collection_switch);

/// The one that decides now, null when none is set.
const switch_t* deciding_switch();

/// Where no switch is set: evsEnabled, or what the build forces.
statistic_impl_t::env_vars_state_t state_without_switches();

} // namespace OSTREL_NAMESPACE
