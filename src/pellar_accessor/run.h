// Runs one of the software manager's tools.
#pragma once

#include "ostrel/pellar_accessor.h"
#include "pellar_accessor/locate.h"

#include <string>
#include <vector>

namespace OSTREL_NAMESPACE {

/// The result of a run that did not start: no tool, a remote session, or a failed detached start.
inline constexpr int not_started = -1;

/// Whether OSTREL_DISABLE_PELLAR allows starting a tool. Each call reads it again and traces the result.
bool is_call_allowed();

/// Runs a tool.
/// @param sync waits for the tool's end, without a timeout
/// @param program_files locates the standard folder
/// @return 0 if the bridge is switched off; not_started; if the tool was waited for its exit code or the
/// system's
///         error number, else 0
int run_tool(pellar_accessor_impl_t::pellar_tool_t tool, const std::vector<std::wstring>& arguments,
             bool sync, program_files_t program_files);

} // namespace OSTREL_NAMESPACE
