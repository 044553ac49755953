// The command line, read with CLI11.
#pragma once

#include "commands.h"
#include "watch.h"

#include <CLI/CLI.hpp>

#include <variant>

namespace ostrelctl {

/// The chosen command: the function that runs it, or the settings of watch.
using show_t = outcome_t (*)(const request_t&);
using command_t = std::variant<show_t, watch_t>;

/// Fills @p request from the arguments: UTF-8, without the program's name.
/// Throws CLI::Success for --help and --version, CLI::ParseError for wrong usage.
command_t parse(CLI::App& app, request_t& request, std::vector<std::string> arguments);

} // namespace ostrelctl
