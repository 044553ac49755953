// The logger of statistic_impl_ga_t.
#pragma once

#include "foundations/trace.h"

namespace OSTREL_NAMESPACE {

extern const component_logger_t analytics_log;

} // namespace OSTREL_NAMESPACE
