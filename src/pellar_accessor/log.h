// The logger of the software-manager bridge.
#pragma once

#include "foundations/trace.h"

namespace OSTREL_NAMESPACE {

extern const component_logger_t bridge_log;

} // namespace OSTREL_NAMESPACE
