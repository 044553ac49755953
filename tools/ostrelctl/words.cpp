// The library's findings as text: sentences for people, and codes that programs can rely on.
#include "words.h"

#include "terminal.h"
#include "toolkit/quillkit/strings.h"

#include <algorithm>

namespace ostrelctl {

namespace {

using library::days_state_t;
using library::place_state_t;
using library::place_t;
using library::rule_t;
using library::uuid_source_t;
using library::verdict_t;
using quillkit::strings::utf16_to_utf8;

std::string describe(const library::folder_forecast_t& failure) {
    const bool is_forbidden = failure.outcome == library::folder_outcome_t::forbidden;
    return utf16_to_utf8(failure.obstacle.as_string()) +
           (is_forbidden ? " may not be written" : " is not a folder");
}

std::string describe_folders(const library::plan_t& plan) {
    if (!plan.paths)
        return why_no_folder();
    if (plan.failure)
        return describe(*plan.failure);
    for (const place_t& place : plan.places)
        if (place.state == place_state_t::would_be_created)
            return "would be created";
    return "exist";
}

std::string describe_network(const library::plan_t& plan) {
    using ostrel_platform::resolution_t;
    if (plan.addresses->outcome == resolution_t::unknown_host)
        return plan.domain + " is unknown to the resolver";
    if (plan.addresses->outcome == resolution_t::failed)
        return "the resolver gives no answer for " + plan.domain;
    std::string text = plan.domain + " is";
    for (const auto& [a, b, c, d] : plan.addresses->ipv4)
        text += " " + std::to_string(a) + "." + std::to_string(b) + "." + std::to_string(c) + "." +
                std::to_string(d);
    return plan.addresses->ipv4.empty() ? plan.domain + " has no IPv4 address" : text;
}

std::string describe_answer(library::virk_state_t answer) {
    if (answer == library::vsUnknown)
        return "no answer is recorded: a product would ask";
    return answer == library::vsEnabled ? "the user has agreed" : "the user has refused";
}

std::string describe_switch(const library::step_t& step) {
    if (step.variable == nullptr)
        return "forces collection";
    return step.is_set ? "set" : "not set";
}

std::string because(verdict_t verdict) {
    switch (verdict) {
    case verdict_t::no_object:
        return "a product cannot create the statistic object";
    case verdict_t::no_machine_id:
        return "there is no machine id";
    case verdict_t::switched_off:
        return "the environment switches it off";
    case verdict_t::forced_on:
        return "the environment forces it";
    case verdict_t::built_on:
        return "the build forces it";
    case verdict_t::inside_network:
        return "this machine is inside the maker's network";
    case verdict_t::network_unknown:
        return "the network check could not be made";
    case verdict_t::agreed:
        return "the user has agreed";
    case verdict_t::not_agreed:
        return "the user has not agreed";
    case verdict_t::undecided:
        break;
    }
    return {};
}

} // namespace

std::string words_of(const char* code) {
    std::string words = code;
    std::replace(words.begin(), words.end(), '_', ' ');
    return words;
}

std::string because(const library::plan_t& plan) {
    const std::string text = because(plan.decision.verdict);
    return plan.failure ? text + ": " + describe(*plan.failure) : text;
}

std::string describe_machine_id(const library::plan_t& plan) {
    const std::string makes = plan.keeps_machine_id
                                  ? ": a product would create an id"
                                  : ": a product would create an id in each run, because it cannot store one";
    switch (plan.machine_id.source) {
    case uuid_source_t::no_folder:
        return "there is no folder to store an id in";
    case uuid_source_t::forced:
        return "from NORVANE_FORCE_UUID";
    case uuid_source_t::stored:
        return "from uuid.xml";
    case uuid_source_t::without_id:
        return "uuid.xml contains no id";
    case uuid_source_t::missing:
        return "none stored yet" + makes;
    case uuid_source_t::unreadable:
        return "uuid.xml cannot be read" + makes;
    case uuid_source_t::malformed:
        break;
    }
    return "uuid.xml is malformed" + makes;
}

std::string name_of(const library::step_t& step) {
    if (step.rule != rule_t::switches)
        return words_of(code_of(step.rule));
    return step.variable == nullptr ? "build option" : utf16_to_utf8(step.variable->variable);
}

std::string finding_of(const library::step_t& step, const library::plan_t& plan) {
    if (!step.is_reached)
        return {};
    switch (step.rule) {
    case rule_t::folders:
        return describe_folders(plan);
    case rule_t::machine_id:
        return describe_machine_id(plan);
    case rule_t::switches:
        return describe_switch(step);
    case rule_t::network:
        return describe_network(plan);
    case rule_t::consent:
        break;
    }
    return describe_answer(*plan.answer);
}

std::string why_not_counted(days_state_t state) {
    switch (state) {
    case days_state_t::loaded:
    case days_state_t::missing:
        break;
    case days_state_t::unreadable:
        return "the file cannot be read";
    case days_state_t::malformed:
        return "the file is malformed";
    case days_state_t::locked:
        return "the lock file exists";
    case days_state_t::not_lockable:
        return "the lock file cannot be created";
    case days_state_t::no_folder:
        return "there is no folder for the file";
    }
    return {};
}

} // namespace ostrelctl
