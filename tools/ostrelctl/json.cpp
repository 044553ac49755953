// The answers for programs.
#include "report.h"

#include "ostrel/version.h"
#include "toolkit/quillkit/strings.h"

#include <nlohmann/json.hpp>

namespace ostrelctl {

namespace {

using json_t = nlohmann::ordered_json;
using quillkit::strings::utf16_to_utf8;

std::string dump(const json_t& document) {
    // Arguments and variables may hold anything.
    return document.dump(2, ' ', false, json_t::error_handler_t::replace) + "\n";
}

json_t to_json(const file_t& file) {
    return {{"role", file.role}, {"path", file.path}, {"state", file.state}, {"mode", file.mode}};
}

json_t files_of(const inspection_t& found) {
    json_t files = json_t::array();
    for (const file_t& file : found.files)
        files.push_back(to_json(file));
    return files;
}

json_t rules_of(const inspection_t& found) {
    json_t rules = json_t::array();
    for (const rule_line_t& line : found.rules)
        rules.push_back({{"rule", line.name},
                         {"finding", line.finding},
                         {"says", explain(line.verdict)},
                         {"decides", line.decides}});
    return rules;
}

json_t events_of(const inspection_t& found) {
    json_t events = json_t::array();
    for (const std::wstring_view event : found.events.names())
        events.push_back(utf16_to_utf8(event));
    return events;
}

json_t days_of(const days_t& days) {
    return {{"stored", days.stored.size()},
            {"ignored_because", days.why_ignored},
            {"with_today", days.count},
            {"cd3", days.is_regular_user ? "y" : "n"}};
}

json_t head_of(const inspection_t& found) {
    return {{"product", found.subject.product},
            {"would_report", found.would_report()},
            {"because", explain(found.verdict)},
            {"machine_id", utf16_to_utf8(found.machine_id.id)},
            {"machine_id_is_new", found.machine_id.is_new}};
}

} // namespace

std::string status_json(const inspection_t& found) {
    json_t document = head_of(found);
    document["rules"] = rules_of(found);
    document["files"] = files_of(found);
    document["endpoint"] = found.endpoint;
    document["proxies"] = found.proxies;
    document["events"] = events_of(found);
    document["days_of_use"] = days_of(found.days);
    return dump(document);
}

std::string preview_json(const inspection_t& found, const std::vector<preview_t>& previews) {
    json_t document = head_of(found);
    const file_t* const filter = filter_of(found);
    document["filter"] = filter == nullptr ? json_t() : to_json(*filter);
    document["features"] = json_t::array();
    for (const preview_t& one : previews)
        document["features"].push_back({{"name", one.feature},
                                        {"body", one.body ? json_t(*one.body) : json_t()},
                                        {"why_not", one.why_not}});
    return dump(document);
}

std::string consent_json(const consent_report_t& report) {
    return dump({{"answer", report.answer}, {"file", to_json(report.file)}, {"effect", report.effect}});
}

} // namespace ostrelctl
