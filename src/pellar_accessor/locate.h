// Where the software manager's standard folder lies.
#pragma once

#include "ostrel/version.h"

#include <optional>
#include <string>

namespace OSTREL_NAMESPACE {

using program_files_t = std::optional<std::wstring> (*)();

/// Puts another folder in the place of the system's common program files, for tests; null puts the system's
/// back.
void replace_program_files(program_files_t program_files);

} // namespace OSTREL_NAMESPACE
