// The result of a tool that did not start.
#pragma once

#include "ostrel/version.h"

namespace OSTREL_NAMESPACE {

/// invoke_pellar returns it in place of an exit code.
inline constexpr int not_started = -1;

} // namespace OSTREL_NAMESPACE
