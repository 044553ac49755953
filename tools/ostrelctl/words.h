// The plan's findings in words: sentences for people, and codes that programs can rely on.
#pragma once

#include "inspection.h"

#include <string>

namespace ostrelctl {

/// Codes are lower case with underscores; they stay as they are within a schema of the JSON output.
const char* code_of(library::rule_t rule);
const char* code_of(library::verdict_t verdict);
const char* code_of(library::uuid_source_t source);
const char* code_of(library::place_role_t role);
const char* code_of(library::place_state_t state);
const char* code_of(library::days_state_t state);
const char* code_of(library::folder_outcome_t outcome);
/// "direct" for no proxy, the variable for one of the environment, otherwise the code of the system's
/// setting.
const char* source_of(const library::found_proxy_t& found);

/// A code with blanks in the place of its underscores.
std::string words_of(const char* code);

/// Why the plan's verdict is what it is, for example "the user has not agreed".
std::string because(const library::plan_t& plan);

/// Where the machine id comes from.
std::string describe_machine_id(const library::plan_t& plan);

/// What a step of the decision is called, and what was found for it.
std::string name_of(const library::step_t& step);
std::string finding_of(const library::step_t& step, const library::plan_t& plan);

/// Why a new object does not count the stored days; empty if it does or if there are none.
std::string why_not_counted(library::days_state_t state);

} // namespace ostrelctl
