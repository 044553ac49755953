// The logger of the collection policy.
#pragma once

#include "foundations/trace.h"

namespace OSTREL_NAMESPACE {

extern const component_logger_t policy_log;

} // namespace OSTREL_NAMESPACE
