// Runs one of the software manager's tools.
#pragma once

#include "ostrel/pellar_accessor.h"
#include "pellar_accessor/locate.h"

#include <string>
#include <vector>

namespace OSTREL_NAMESPACE {

/// The result of a run that did not start: the tool is missing, the session is remote, or the start of a tool
/// that is not waited for failed.
inline constexpr int not_started = -1;

/// Whether the environment variable OSTREL_DISABLE_PELLAR allows starting a tool. Each call reads the
/// variable again and traces the result.
bool is_call_allowed();

/// Runs a tool.
/// @param sync whether to wait for the tool's end, without a timeout
/// @param program_files returns the folder of common program files
/// @return 0 if the bridge is switched off, otherwise not_started or the result of the start. With @p sync
///         the result is the tool's exit code, or the system's error number if the run failed. Without it
///         the result is 0.
int run_tool(pellar_accessor_impl_t::pellar_tool_t tool, const std::vector<std::wstring>& arguments,
             bool sync, program_files_t program_files);

} // namespace OSTREL_NAMESPACE
