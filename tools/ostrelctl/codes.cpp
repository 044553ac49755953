// The codes of the JSON output.
#include "words.h"

namespace ostrelctl {

using library::days_state_t;
using library::folder_outcome_t;
using library::place_role_t;
using library::place_state_t;
using library::rule_t;
using library::uuid_source_t;
using library::verdict_t;
using ostrel_platform::proxy_source_t;

const char* code_of(rule_t rule) {
    switch (rule) {
    case rule_t::folders:
        return "folders";
    case rule_t::machine_id:
        return "machine_id";
    case rule_t::switches:
        return "switches";
    case rule_t::network:
        return "network";
    case rule_t::consent:
        break;
    }
    return "consent";
}

const char* code_of(verdict_t verdict) {
    switch (verdict) {
    case verdict_t::no_object:
        return "no_object";
    case verdict_t::no_machine_id:
        return "no_machine_id";
    case verdict_t::switched_off:
        return "switched_off";
    case verdict_t::forced_on:
        return "forced_on";
    case verdict_t::built_on:
        return "built_on";
    case verdict_t::inside_network:
        return "inside_network";
    case verdict_t::network_unknown:
        return "network_unknown";
    case verdict_t::agreed:
        return "agreed";
    case verdict_t::not_agreed:
        return "not_agreed";
    case verdict_t::undecided:
        break;
    }
    return "undecided";
}

const char* code_of(uuid_source_t source) {
    switch (source) {
    case uuid_source_t::no_folder:
        return "no_folder";
    case uuid_source_t::forced:
        return "forced";
    case uuid_source_t::stored:
        return "stored";
    case uuid_source_t::without_id:
        return "without_id";
    case uuid_source_t::missing:
        return "missing";
    case uuid_source_t::unreadable:
        return "unreadable";
    case uuid_source_t::malformed:
        break;
    }
    return "malformed";
}

const char* code_of(place_role_t role) {
    switch (role) {
    case place_role_t::company_folder:
        return "company_folder";
    case place_role_t::consent:
        return "consent";
    case place_role_t::settings_folder:
        return "settings_folder";
    case place_role_t::machine_id:
        return "machine_id";
    case place_role_t::days_of_use:
        return "days_of_use";
    case place_role_t::lock_of_days:
        return "lock_of_days";
    case place_role_t::event_filter:
        break;
    }
    return "event_filter";
}

const char* code_of(place_state_t state) {
    switch (state) {
    case place_state_t::missing:
        return "missing";
    case place_state_t::folder:
        return "folder";
    case place_state_t::would_be_created:
        return "would_be_created";
    case place_state_t::cannot_be_created:
        return "cannot_be_created";
    case place_state_t::readable:
        return "readable";
    case place_state_t::unreadable:
        return "unreadable";
    case place_state_t::malformed:
        return "malformed";
    case place_state_t::dangling_link:
        return "dangling_link";
    case place_state_t::device:
        return "device";
    case place_state_t::not_a_file:
        break;
    }
    return "not_a_file";
}

const char* code_of(days_state_t state) {
    switch (state) {
    case days_state_t::loaded:
        return "loaded";
    case days_state_t::missing:
        return "missing";
    case days_state_t::unreadable:
        return "unreadable";
    case days_state_t::malformed:
        return "malformed";
    case days_state_t::locked:
        return "locked";
    case days_state_t::not_lockable:
        return "not_lockable";
    case days_state_t::no_folder:
        break;
    }
    return "no_folder";
}

const char* code_of(folder_outcome_t outcome) {
    switch (outcome) {
    case folder_outcome_t::exists:
        return "exists";
    case folder_outcome_t::would_be_created:
        return "would_be_created";
    case folder_outcome_t::blocked:
        return "blocked";
    case folder_outcome_t::forbidden:
        break;
    }
    return "forbidden";
}

const char* source_of(const library::found_proxy_t& found) {
    if (found.text.empty())
        return "direct";
    switch (found.source) {
    case proxy_source_t::browser:
        return "browser";
    case proxy_source_t::discovery:
        return "discovery";
    case proxy_source_t::machine:
        return "machine";
    case proxy_source_t::environment:
        break;
    }
    return found.variable;
}

} // namespace ostrelctl
