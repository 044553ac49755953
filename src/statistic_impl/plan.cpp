// Computes what the creation of a statistic object would do, without doing it.
#include "statistic_impl/plan.h"

#include "foundations/lock_file.h"
#include "platform/entries.h"
#include "platform/files.h"
#include "statistic_impl/bag_file.h"
#include "statistic_impl/consent.h"
#include "statistic_impl/deployment.h"
#include "statistic_impl/last_active_dates.h"

#include <algorithm>

namespace OSTREL_NAMESPACE {

namespace {

using ostrel_platform::entry_t;

place_t look_at_folder(place_role_t role, const kiln2::path_t& path) {
    const folder_forecast_t forecast = forecast_folder(path);
    if (!forecast.is_possible())
        return {role, path, place_state_t::cannot_be_created};
    const bool exists = forecast.outcome == folder_outcome_t::exists;
    return {role, path, exists ? place_state_t::folder : place_state_t::would_be_created};
}

place_t look_at_file(place_role_t role, const kiln2::path_t& path) {
    switch (ostrel_platform::look_at(path.as_string())) {
    case entry_t::missing:
        return {role, path, place_state_t::missing};
    case entry_t::dangling_link:
        return {role, path, place_state_t::dangling_link};
    case entry_t::stream:
        return {role, path, place_state_t::device};
    case entry_t::folder:
    case entry_t::other:
        return {role, path, place_state_t::not_a_file};
    case entry_t::file:
    case entry_t::unreachable:
        break;
    }
    const bool opens = ostrel_platform::shared_file_t::open_for_reading(path.as_string()).has_value();
    return {role, path, opens ? place_state_t::readable : place_state_t::unreadable};
}

place_t look_at_bag(place_role_t role, const kiln2::path_t& path) {
    place_t place = look_at_file(role, path);
    kiln2::variant_bag_t ignored;
    if (place.state == place_state_t::readable &&
        load_bag(ignored, path.as_string()) == bag_state_t::malformed)
        place.state = place_state_t::malformed;
    return place;
}

place_t with_permission(place_t place, const kiln2::path_t& folder, bool (*may_write)(const std::wstring&)) {
    const bool has_folder = forecast_folder(folder).outcome == folder_outcome_t::exists;
    place.is_read_only = has_folder && !may_write(place.path.as_string());
    return place;
}

void look_at_settings(plan_t& plan, const settings_paths_t& paths) {
    using ostrel_platform::may_replace;
    const kiln2::path_t days = active_dates_file(paths.statistic_dir);
    plan.places = {
        look_at_folder(place_role_t::company_folder, paths.company_dir),
        look_at_consent(paths),
        look_at_folder(place_role_t::settings_folder, paths.statistic_dir),
        with_permission(look_at_bag(place_role_t::machine_id, paths.uuid), paths.statistic_dir, &may_replace),
        with_permission(look_at_bag(place_role_t::days_of_use, days), paths.statistic_dir, &may_replace),
        look_at_file(place_role_t::lock_of_days, lock_file_of(days))};
}

std::optional<folder_forecast_t> find_failure(const settings_paths_t& paths) {
    for (const kiln2::path_t& folder : paths.folders())
        if (folder_forecast_t forecast = forecast_folder(folder); !forecast.is_possible())
            return forecast;
    return std::nullopt;
}

void find_machine_id(plan_t& plan) {
    plan.machine_id = find_uuid(plan.paths->uuid.as_string());
    const bool is_stored = !plan.find(place_role_t::machine_id)->is_read_only;
    plan.keeps_machine_id = is_stored || !plan.machine_id.needs_fresh_id();
}

days_state_t state_of(bag_state_t state) {
    switch (state) {
    case bag_state_t::missing:
        return days_state_t::missing;
    case bag_state_t::unreadable:
        return days_state_t::unreadable;
    case bag_state_t::malformed:
        return days_state_t::malformed;
    case bag_state_t::loaded:
        break;
    }
    return days_state_t::loaded;
}

days_state_t find_days_state(const settings_paths_t& paths, const kiln2::path_t& file) {
    if (ostrel_platform::look_at(lock_file_of(file).as_string()) != entry_t::missing)
        return days_state_t::locked;
    const bool has_folder = ostrel_platform::look_at(paths.statistic_dir.as_string()) == entry_t::folder;
    if (has_folder && !ostrel_platform::may_create_in(paths.statistic_dir.as_string()))
        return days_state_t::not_lockable;
    kiln2::variant_bag_t ignored;
    return state_of(load_bag(ignored, file.as_string()));
}

days_plan_t plan_days(const std::optional<settings_paths_t>& paths) {
    days_plan_t plan;
    std::vector<active_date_t> dates;
    if (paths) {
        const kiln2::path_t file = active_dates_file(paths->statistic_dir);
        dates = stored_active_dates(file.as_string()).value_or(dates);
        plan.state = find_days_state(*paths, file);
    }
    plan.stored = dates.size();
    if (plan.state != days_state_t::loaded)
        dates.clear();
    const active_date_t today = last_active_dates_t::today();
    if (is_another_day(dates, today))
        dates.push_back(today);
    plan.count = dates.size();
    plan.is_regular_user = is_new_regular_user(dates.size(), dates.front(), today);
    return plan;
}

decision_t decide(plan_t& plan, resolver_t resolver) {
    facts_t facts;
    facts.has_machine_id = !plan.machine_id.id.empty() || plan.machine_id.needs_fresh_id();
    facts.switches = &statistic_impl_t::get_env_vars_state;
    facts.network = [&] {
        plan.addresses = resolver(plan.domain);
        return judge_resolution(*plan.addresses);
    };
    facts.consent = [&] {
        plan.answer = consent_with(statistic_impl_t::get_env_vars_state(), plan.paths->virk.as_string());
        return *plan.answer;
    };
    return decide(facts);
}

void add_switches(std::vector<step_t>& steps, bool is_reached) {
    const switch_t* const deciding = is_reached ? deciding_switch() : nullptr;
    for (const switch_t& one : collection_switches) {
        const bool decides = &one == deciding;
        steps.push_back({rule_t::switches, &one, is_reached, is_reached && is_set(one),
                         decides ? judge_switches(one.state) : verdict_t::undecided});
        is_reached = is_reached && !decides;
    }
    const verdict_t built = judge_switches(state_without_switches());
    if (built != verdict_t::undecided)
        steps.push_back(
            {rule_t::switches, nullptr, is_reached, true, is_reached ? built : verdict_t::undecided});
}

void add_steps(plan_t& plan) {
    for (const rule_t rule :
         {rule_t::folders, rule_t::machine_id, rule_t::switches, rule_t::network, rule_t::consent}) {
        const bool is_reached = rule <= plan.decision.rule;
        if (rule == rule_t::switches)
            add_switches(plan.steps, is_reached);
        else
            plan.steps.push_back({rule, nullptr, is_reached, false,
                                  rule == plan.decision.rule ? plan.decision.verdict : verdict_t::undecided});
    }
}

} // namespace

const place_t* plan_t::find(place_role_t role) const {
    const auto place =
        std::find_if(places.begin(), places.end(), [role](const place_t& one) { return one.role == role; });
    return place == places.end() ? nullptr : &*place;
}

place_t look_at_consent(const settings_paths_t& paths) {
    return with_permission(look_at_file(place_role_t::consent, paths.virk), paths.company_dir,
                           &ostrel_platform::may_overwrite);
}

plan_t make_plan(const plan_subject_t& subject, resolver_t resolver) {
    plan_t plan;
    plan.paths = settings_of(subject.product_id);
    plan.domain = corporate_domain();
    plan.endpoint = collection_url();
    if (plan.paths) {
        plan.failure = find_failure(*plan.paths);
        look_at_settings(plan, *plan.paths);
        if (!plan.failure)
            find_machine_id(plan);
    }
    plan.decision = plan.failure ? decision_t{rule_t::folders, verdict_t::no_object} : decide(plan, resolver);
    add_steps(plan);
    plan.days = plan_days(plan.paths);
    if (!subject.event_filter.is_empty())
        plan.places.push_back(look_at_bag(place_role_t::event_filter, subject.event_filter));
    plan.events = load_enabled_events(subject.event_filter);
    return plan;
}

} // namespace OSTREL_NAMESPACE
