// The command line, read with CLI11.
#pragma once

#include "commands.h"

#include <CLI/CLI.hpp>

namespace ostrelctl {

using command_t = outcome_t (*)(const request_t&);

/// Fills @p request from the arguments, which are UTF-8 and without the program's name.
/// @return the chosen command
/// Throws CLI::Success for --help and --version, CLI::ParseError for wrong usage.
command_t parse(CLI::App& app, request_t& request, std::vector<std::string> arguments);

} // namespace ostrelctl
