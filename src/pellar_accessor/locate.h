// Finds the software manager's tools.
#pragma once

#include "kiln2/path.h"
#include "ostrel/pellar_accessor.h"

#include <optional>
#include <string>

namespace OSTREL_NAMESPACE {

/// Names the folder of common program files; nothing if the system has none.
using program_files_t = std::optional<std::wstring> (*)();

/// The existing executable of a tool, in the standard folder or else in the folder that PELLAR_DIR names.
/// Empty if there is none, if the tool is unknown, or if there is no standard folder.
kiln2::path_t locate_tool(pellar_accessor_impl_t::pellar_tool_t tool, program_files_t program_files);

} // namespace OSTREL_NAMESPACE
