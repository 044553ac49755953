// Computes what the creation of a statistic object would do, without doing it.
#pragma once

#include "statistic_impl/decision.h"
#include "statistic_impl/environment_switches.h"
#include "statistic_impl/event_filter.h"
#include "statistic_impl/machine_id.h"
#include "statistic_impl/settings_paths.h"

#include <optional>
#include <string>
#include <vector>

namespace OSTREL_NAMESPACE {

enum class place_role_t {
    company_folder,
    consent,
    settings_folder,
    machine_id,
    days_of_use,
    lock_of_days,
    event_filter,
};

enum class place_state_t {
    missing,
    folder,
    would_be_created,
    cannot_be_created,
    readable,
    unreadable,
    malformed,     ///< readable, but not a valid bag
    dangling_link, ///< a symbolic link without a target
    device,        ///< a device or pipe instead of a file; as the consent file it counts as a refusal
    not_a_file,    ///< a folder or another entry instead of a file
};

/// One file or folder that a statistic object uses.
struct place_t {
    place_role_t role;
    kiln2::path_t path;
    place_state_t state;
    bool is_read_only = false; ///< the user lacks permission to write the file: it stays unchanged
};

/// One step of the decision: a rule. The rule rule_t::switches has a step for each environment switch, and
/// another step if the build forces a state.
struct step_t {
    rule_t rule;
    const switch_t* variable = nullptr;       ///< only for environment switches; otherwise null
    bool is_reached = false;                  ///< false: an earlier step decided, and this step read nothing
    bool is_set = false;                      ///< for a switch: reached and set; for the build: true
    verdict_t verdict = verdict_t::undecided; ///< undecided unless this step decides
};

enum class days_state_t {
    loaded,
    missing,
    unreadable,
    malformed,
    locked,       ///< the lock file exists: an object waits one second and starts without days
    not_lockable, ///< the lock file cannot be created: same effect as locked
    no_folder,    ///< the days stay in memory only
};

/// The days of use that an object would count after a report today.
struct days_plan_t {
    days_state_t state = days_state_t::no_folder;
    std::size_t stored = 0; ///< number of days in the file, even if an object cannot load them
    std::size_t count = 0;  ///< number of days including today
    bool is_regular_user = false;
};

/// The result of each step of the creation. make_plan and a statistic object decide with the same functions.
struct plan_t {
    std::optional<settings_paths_t> paths;    ///< nullopt if the system returns no folder
    std::optional<folder_forecast_t> failure; ///< set if a folder, and so the object, cannot be created
    uuid_finding_t machine_id;
    bool keeps_machine_id = true; ///< false if each object generates an id that cannot be stored
    std::string domain;           ///< the corporate domain
    std::optional<ostrel_platform::host_addresses_t> addresses; ///< nullopt: network rule not reached
    std::optional<virk_state_t> answer;                         ///< nullopt: consent rule not reached
    std::vector<step_t> steps;                                  ///< in their order
    decision_t decision;
    std::vector<place_t> places;
    days_plan_t days;
    event_filter_t events;
    std::string endpoint;

    /// The place with this role; null if there is none.
    const place_t* find(place_role_t role) const;
};

/// The consent file and its state.
place_t look_at_consent(const settings_paths_t& paths);

/// The input of make_plan.
struct plan_subject_t {
    std::wstring product_id;
    kiln2::path_t event_filter; ///< the event filter's file; may be empty
};

/// Reads files and the environment. If the decision reaches the network rule, resolves one name. Writes
/// nothing.
plan_t make_plan(const plan_subject_t& subject, resolver_t resolver = &ostrel_platform::resolve_host);

} // namespace OSTREL_NAMESPACE
