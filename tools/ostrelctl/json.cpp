// The answers for programs.
#include "report.h"

#include "terminal.h"
#include "toolkit/quillkit/strings.h"
#include "words.h"

#include <nlohmann/json.hpp>

namespace ostrelctl {

namespace {

using json_t = nlohmann::ordered_json;
using quillkit::strings::utf16_to_utf8;

constexpr int schema = 1;

std::string dump(const json_t& document) {
    // Arguments and variables may hold anything.
    return document.dump(2, ' ', false, json_t::error_handler_t::replace) + "\n";
}

json_t to_json(const library::place_t& place) {
    return {{"role", code_of(place.role)},
            {"path", utf16_to_utf8(place.path.as_string())},
            {"state", code_of(place.state)},
            {"mode", mode_of(place.path.as_string())}};
}

json_t files_of(const library::plan_t& plan) {
    json_t files = json_t::array();
    for (const library::place_t& place : plan.places)
        files.push_back(to_json(place));
    return files;
}

json_t rules_of(const library::plan_t& plan) {
    json_t rules = json_t::array();
    for (const library::step_t& step : plan.steps)
        rules.push_back({{"rule", code_of(step.rule)},
                         {"name", name_of(step)},
                         {"reached", step.is_reached},
                         {"verdict", code_of(step.verdict)},
                         {"finding", finding_of(step, plan)}});
    return rules;
}

json_t events_of(const library::plan_t& plan) {
    json_t events = json_t::array();
    for (const std::wstring& event : plan.events)
        events.push_back(utf16_to_utf8(event));
    return events;
}

json_t days_of(const library::days_plan_t& days) {
    return {{"state", code_of(days.state)},
            {"stored", days.stored},
            {"with_today", days.count},
            {"regular_user", days.is_regular_user}};
}

json_t head_of(const inspection_t& found) {
    return {{"schema", schema},
            {"product", found.subject.product},
            {"would_report", found.would_report()},
            {"verdict", code_of(found.plan.verdict)},
            {"because", because(found.plan)},
            {"machine_id", found.machine_id},
            {"machine_id_source", code_of(found.plan.machine_id.source)}};
}

} // namespace

std::string status_json(const inspection_t& found) {
    json_t document = head_of(found);
    document["rules"] = rules_of(found.plan);
    document["files"] = files_of(found.plan);
    document["endpoint"] = found.endpoint;
    document["proxies"] = found.proxies;
    document["events"] = events_of(found.plan);
    document["days_of_use"] = days_of(found.plan.days);
    return dump(document);
}

std::string preview_json(const inspection_t& found, const std::vector<preview_t>& previews) {
    json_t document = head_of(found);
    const library::place_t* const filter = filter_of(found);
    document["filter"] = filter == nullptr ? json_t() : to_json(*filter);
    document["features"] = json_t::array();
    for (const preview_t& one : previews)
        document["features"].push_back({{"name", one.feature},
                                        {"body", one.body ? json_t(*one.body) : json_t()},
                                        {"why_not", one.why_not}});
    return dump(document);
}

std::string consent_json(const consent_report_t& report) {
    return dump({{"schema", schema},
                 {"answer", report.answer},
                 {"file", to_json(report.file)},
                 {"overridden_by", report.overridden_by}});
}

} // namespace ostrelctl
