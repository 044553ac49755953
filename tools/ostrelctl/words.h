// The library's findings as text: sentences for people, and codes that programs can rely on.
#pragma once

#include "inspection.h"

#include <string>

namespace ostrelctl {

/// Codes are lower case with underscores. They never change while the schema number of the JSON output is the
/// same.
const char* code_of(library::rule_t rule);
const char* code_of(library::verdict_t verdict);
const char* code_of(library::uuid_source_t source);
const char* code_of(library::place_role_t role);
const char* code_of(library::place_state_t state);
const char* code_of(library::days_state_t state);
const char* code_of(library::folder_outcome_t outcome);
/// "direct" for a direct connection, the name of the variable for a proxy from the environment, otherwise the
/// code of the system's setting.
const char* source_of(const library::found_proxy_t& found);

/// The code with spaces instead of underscores.
std::string words_of(const char* code);

/// The reason for the plan's verdict, for example "the user has not agreed".
std::string because(const library::plan_t& plan);

/// Where the machine id comes from, or why there is none.
std::string describe_machine_id(const library::plan_t& plan);

/// The name of a step of the decision, and what the library finds there.
std::string name_of(const library::step_t& step);
std::string finding_of(const library::step_t& step, const library::plan_t& plan);

/// Why a product does not count the stored days of use; empty if it counts them or if there are none.
std::string why_not_counted(library::days_state_t state);

} // namespace ostrelctl
