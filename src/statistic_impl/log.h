// The logger of the collection policy.
#pragma once

#include "foundations/trace.h"

namespace OSTREL_NAMESPACE {

/// statistic_impl_t and statistic_impl_ga_t both use this name, so that a host configures one logger.
inline constexpr const wchar_t* statistic_logger_name = L"ostrel.statistic";

extern const component_logger_t policy_log;

} // namespace OSTREL_NAMESPACE
