// The command lines of the tools.
#pragma once

#include "ostrel/version.h"
#include "platform/process.h"

#include <string>
#include <vector>

namespace OSTREL_NAMESPACE {

/// The unchanged element between double quotes.
std::wstring quote(const std::wstring& element);

/// The command of a tool. @p program is its path.
ostrel_platform::command_t compose_command(const std::wstring& program,
                                           const std::vector<std::wstring>& arguments);

} // namespace OSTREL_NAMESPACE
