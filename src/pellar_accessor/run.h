// Runs one of the software manager's tools.
#pragma once

#include "ostrel/pellar_accessor.h"
#include "pellar_accessor/locate.h"

#include <string>
#include <vector>

namespace OSTREL_NAMESPACE {

/// The result of run_tool if the tool's executable is missing, if the session is remote, or if the tool could
/// not be started and `sync` is false.
inline constexpr int not_started = -1;

/// Whether the environment variable OSTREL_DISABLE_PELLAR allows starting a tool. Each call reads the
/// variable again and traces the result.
bool is_call_allowed();

/// Runs a tool.
/// @param sync whether to wait for the tool's end, without a timeout
/// @param program_files returns the folder of common program files
/// @return 0 if the bridge is switched off, and not_started in the cases named above. Otherwise, a run with
///         @p sync returns the tool's exit code, or the system's error number if the run failed. A run
///         without @p sync returns 0.
int run_tool(pellar_accessor_impl_t::pellar_tool_t tool, const std::vector<std::wstring>& arguments,
             bool sync, program_files_t program_files);

} // namespace OSTREL_NAMESPACE
