// The logger of the software-manager bridge, and how its lines spell signatures.
#pragma once

#include "foundations/trace.h"

/// How signatures of the bridge's members begin, and how they spell what a run takes.
#define OSTREL_BRIDGE_TEXT OSTREL_NAMESPACE_TEXT L"::pellar_accessor_impl_t::"
#define OSTREL_ARGUMENTS_TEXT                                                                                \
    L"std::vector<" OSTREL_WSTRING_TEXT L", std::allocator<" OSTREL_WSTRING_TEXT L">>"
#define OSTREL_RUN_TEXT OSTREL_BRIDGE_TEXT L"pellar_tool_t, const " OSTREL_ARGUMENTS_TEXT L" &, bool"

namespace OSTREL_NAMESPACE {

extern const component_logger_t bridge_log;

} // namespace OSTREL_NAMESPACE
