// Finds the software manager's tools.
#pragma once

#include "kiln2/path.h"
#include "ostrel/pellar_accessor.h"

#include <optional>
#include <string>

namespace OSTREL_NAMESPACE {

/// Returns the folder of common program files; nullopt if the system has none.
using program_files_t = std::optional<std::wstring> (*)();

/// Finds the executable of a tool, in the standard folder or else in the folder that the environment variable
/// PELLAR_DIR names. The standard folder is Norvane/Pellar in the folder of common program files.
/// @return the empty path if neither folder has the executable, if the tool is unknown, or if the system has
///         no folder of common program files, even if PELLAR_DIR is set
kiln2::path_t locate_tool(pellar_accessor_impl_t::pellar_tool_t tool, program_files_t program_files);

} // namespace OSTREL_NAMESPACE
