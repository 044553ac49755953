// What a new statistic object would find, create and decide now.
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
    malformed,     ///< readable, but not of the form that the library needs
    dangling_link, ///< a link without a target
    device,        ///< a device or pipe in the place of a file; as the consent file it is a refusal
    not_a_file,    ///< something else in the place of a file
};

/// One file or folder that a statistic object uses.
struct place_t {
    place_role_t role;
    kiln2::path_t path;
    place_state_t state;
    bool is_read_only = false; ///< the library writes this file but the user may not: it stays unchanged
};

/// One line of the decision: a rule, or one switch of the rule for switches.
struct step_t {
    rule_t rule;
    const switch_t* variable = nullptr; ///< null for the other rules, and for the build's switch
    bool is_reached = false;            ///< false if an earlier step has decided: nothing was read for it
    bool is_set = false;                ///< of a switch that is reached
    verdict_t verdict = verdict_t::undecided; ///< undecided in every step except the one that decides
};

enum class days_state_t {
    loaded,
    missing,
    unreadable,
    malformed,
    locked,       ///< the lock file exists: an object waits a second, then starts without days
    not_lockable, ///< the lock file cannot be created: the same
    no_folder,    ///< kept in memory only
};

/// The days of use as an object that reports today counts them.
struct days_plan_t {
    days_state_t state = days_state_t::no_folder;
    std::size_t stored = 0; ///< in the file, even if an object cannot use them
    std::size_t count = 0;  ///< today included
    bool is_regular_user = false;
};

/// The result of each step of creating an object. The constructor calls the same functions.
struct plan_t {
    std::optional<settings_paths_t> paths; ///< nothing when the system names no folder
    std::optional<folder_forecast_t>
        failure; ///< of the folder whose creation fails, so that no object is made
    uuid_finding_t machine_id;
    bool keeps_machine_id = true; ///< false if each object makes a fresh id, because none can be stored
    std::string domain;           ///< its address tells whether this machine is in the maker's network
    std::optional<ostrel_platform::host_addresses_t> addresses; ///< nothing when the rule is not reached
    std::optional<virk_state_t> answer;                         ///< nothing when the rule is not reached
    std::vector<step_t> steps;                                  ///< in the order of the decision
    decision_t decision;
    std::vector<place_t> places;
    days_plan_t days;
    event_filter_t events;
    std::string endpoint;

    /// Null if there is none of that role.
    const place_t* find(place_role_t role) const;
};

/// The consent file and its state.
place_t look_at_consent(const settings_paths_t& paths);

/// The product and the event filter that the plan is made for.
struct plan_subject_t {
    std::wstring product_id;
    kiln2::path_t event_filter; ///< may be empty
};

/// Reads files and the environment, and resolves one name if the decision reaches that rule. Writes and
/// creates nothing.
plan_t make_plan(const plan_subject_t& subject, resolver_t resolver = &ostrel_platform::resolve_host);

} // namespace OSTREL_NAMESPACE
