// The logger of the analytics object.
#pragma once

#include "foundations/trace.h"

namespace OSTREL_NAMESPACE {

extern const component_logger_t analytics_log;

} // namespace OSTREL_NAMESPACE
