// The logger of the bridge to the software manager, and the texts of its signatures.
#pragma once

#include "foundations/trace.h"

/// Parts of the traced signatures: the scope of the bridge's members, the type of an argument list, and the
/// parameters of invoke_pellar.
#define OSTREL_BRIDGE_TEXT OSTREL_NAMESPACE_TEXT L"::pellar_accessor_impl_t::"
#define OSTREL_ARGUMENTS_TEXT                                                                                \
    L"std::vector<" OSTREL_WSTRING_TEXT L", std::allocator<" OSTREL_WSTRING_TEXT L">>"
#define OSTREL_RUN_TEXT OSTREL_BRIDGE_TEXT L"pellar_tool_t, const " OSTREL_ARGUMENTS_TEXT L" &, bool"

namespace OSTREL_NAMESPACE {

extern const component_logger_t bridge_log;

} // namespace OSTREL_NAMESPACE
