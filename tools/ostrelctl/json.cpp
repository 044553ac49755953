// The output for programs.
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

// Arguments and variables may hold any bytes. On a terminal, everything except ASCII is escaped, because
// Unicode has further control characters.
std::string dump(const json_t& document, int indent) {
    return document.dump(indent, ' ', is_terminal(), json_t::error_handler_t::replace);
}

std::string dump(const json_t& document) {
    return dump(document, 2) + "\n";
}

std::string dump_line(const json_t& document) {
    return dump(document, -1) + "\n";
}

json_t text_or_null(const std::string& text) {
    return text.empty() ? json_t() : json_t(text);
}

json_t to_json(const library::place_t& place) {
    return {{"role", code_of(place.role)},
            {"path", utf16_to_utf8(place.path.as_string())},
            {"state", code_of(place.state)},
            {"read_only", place.is_read_only},
            {"mode", text_or_null(mode_of(place.path.as_string()))}};
}

json_t failure_of(const library::plan_t& plan) {
    if (!plan.failure)
        return {};
    return {{"obstacle", utf16_to_utf8(plan.failure->obstacle.as_string())},
            {"reason", code_of(plan.failure->outcome)}};
}

json_t proxies_of(const std::optional<delivery_t>& delivery) {
    if (!delivery)
        return {};
    json_t proxies = json_t::array();
    for (const library::found_proxy_t& found : delivery->proxies)
        proxies.push_back({{"proxy", text_or_null(found.text)}, {"source", source_of(found)}});
    return proxies;
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
                         {"finding", text_or_null(finding_of(step, plan))}});
    return rules;
}

json_t events_of(const library::plan_t& plan) {
    json_t events = json_t::array();
    for (const std::wstring_view event : plan.events.names())
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
            {"rule", code_of(found.plan.decision.rule)},
            {"verdict", code_of(found.plan.decision.verdict)},
            {"because", because(found.plan)},
            {"failure", failure_of(found.plan)},
            {"machine_id", text_or_null(found.machine_id)},
            {"machine_id_source", code_of(found.plan.machine_id.source)},
            {"machine_id_is_kept", found.plan.keeps_machine_id}};
}

} // namespace

std::string status_json(const inspection_t& found) {
    json_t document = head_of(found);
    document["rules"] = rules_of(found.plan);
    document["files"] = files_of(found.plan);
    document["endpoint"] = found.endpoint;
    document["proxies"] = proxies_of(found.delivery);
    document["no_proxy"] = found.delivery ? text_or_null(found.delivery->no_proxy) : json_t();
    document["events"] = events_of(found.plan);
    document["days_of_use"] = days_of(found.plan.days);
    return dump(document);
}

std::string preview_json(const inspection_t& found, const std::vector<preview_t>& previews) {
    json_t document = head_of(found);
    const library::place_t* const filter = found.plan.find(library::place_role_t::event_filter);
    document["filter"] = filter == nullptr ? json_t() : to_json(*filter);
    document["features"] = json_t::array();
    for (const preview_t& one : previews)
        document["features"].push_back({{"name", one.feature},
                                        {"body", one.body ? json_t(*one.body) : json_t()},
                                        {"why_not", text_or_null(one.why_not)}});
    return dump(document);
}

std::string consent_json(const consent_report_t& report) {
    return dump({{"schema", schema},
                 {"answer", report.answer},
                 {"recorded", text_or_null(report.recorded)},
                 {"file", to_json(report.file)},
                 {"overridden_by", text_or_null(report.overridden_by)}});
}

std::string products_json(const std::vector<library::stored_product_t>& products) {
    json_t list = json_t::array();
    for (const library::stored_product_t& product : products)
        list.push_back({{"name", utf16_to_utf8(product.name)},
                        {"folder", utf16_to_utf8(product.statistic_dir.as_string())}});
    return dump({{"schema", schema}, {"products", list}});
}

std::string hit_json(const collector::hit_t& hit, const std::string* body) {
    json_t document = {{"schema", schema},
                       {"category", hit.category},
                       {"label", hit.label ? json_t(*hit.label) : json_t()},
                       {"product", hit.product},
                       {"version", hit.version},
                       {"machine_id", hit.machine_id},
                       {"os", hit.os},
                       {"regular_user", hit.is_regular_user}};
    if (body != nullptr)
        document["body"] = *body;
    return dump_line(document);
}

std::string malformed_json(const std::string& reason, const std::string& body) {
    return dump_line({{"schema", schema}, {"malformed", reason}, {"body", body}});
}

} // namespace ostrelctl
