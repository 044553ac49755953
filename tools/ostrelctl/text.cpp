// The output for people.
#include "report.h"

#include "printable.h"
#include "terminal.h"
#include "toolkit/quillkit/strings.h"
#include "words.h"

#include <algorithm>

namespace ostrelctl {

namespace {

using quillkit::strings::utf16_to_utf8;

constexpr const char* bold = "1";
constexpr const char* red = "31";
constexpr const char* green = "32";

std::string column(const std::string& text, std::size_t width) {
    return text + std::string(std::max(width, text.size() + 1) - text.size(), ' ');
}

std::string line(const std::string& name, const std::string& value) {
    return "   " + column(name, 28) + printable(value) + "\n";
}

std::string file(const std::string& name, const library::place_t& place) {
    const std::wstring& path = place.path.as_string();
    const std::string state = words_of(code_of(place.state)) + (place.is_read_only ? ", read-only" : "");
    return line(name, column(state, 20) + column(mode_of(path), 6) + utf16_to_utf8(path));
}

std::string files(const library::plan_t& plan) {
    std::string text = "\nFiles:\n";
    for (const library::place_t& place : plan.places)
        text += file(words_of(code_of(place.role)), place);
    return text;
}

std::string proxy(const library::found_proxy_t& found) {
    return (found.text.empty() ? "none" : found.text) + "  (" + source_of(found) + ")";
}

std::string delivery(const inspection_t& found) {
    std::string text = "\nDelivery:\n" + line("endpoint", found.endpoint);
    if (!found.delivery)
        return text + line("proxies", "not asked");
    const auto& proxies = found.delivery->proxies;
    for (std::size_t i = 0; i < proxies.size(); ++i)
        text += line("proxy candidate " + std::to_string(i + 1), proxy(proxies[i]));
    const std::string& exceptions = found.delivery->no_proxy;
    return text + (exceptions.empty() ? "" : line("no proxy for", exceptions));
}

std::string events(const inspection_t& found) {
    std::string text = "\nEvents in the filter:\n";
    for (const std::wstring_view event : found.plan.events.names())
        text += "   " + printable(utf16_to_utf8(event)) + "\n";
    if (found.plan.events.names().empty())
        text += "   none: only names of the form run.WORD would be sent\n";
    if (found.subject.filter.empty() && found.subject.folder.empty())
        text += "   (to name the product's filter: --product-folder DIR or --filter FILE)\n";
    return text;
}

// Without a filter, a product prints no message and sends only the names that need no filter.
std::string fault_of_filter(const inspection_t& found) {
    const library::place_t* const filter = found.plan.find(library::place_role_t::event_filter);
    if (filter == nullptr || filter->state == library::place_state_t::readable)
        return {};
    const std::string state =
        filter->state == library::place_state_t::device ? "a device" : words_of(code_of(filter->state));
    return "(The event filter is " + state +
           ", so it enables no feature: " + printable(utf16_to_utf8(filter->path.as_string())) + ")\n";
}

std::string answer_of(const inspection_t& found) {
    return (found.would_report() ? "yes: " : "no: ") + because(found.plan);
}

std::string outcome_of(const library::step_t& step) {
    if (!step.is_reached)
        return "not reached";
    if (step.verdict == library::verdict_t::undecided)
        return "next rule";
    return library::allows(step.verdict) ? "yes" : "no";
}

std::string days(const library::days_plan_t& days) {
    const std::string why = why_not_counted(days.state);
    const std::string stored = std::to_string(days.stored);
    return "\nDays of use:\n" +
           line("stored", why.empty() ? stored : stored + " (not counted: " + why + ")") +
           line("including today", std::to_string(days.count)) +
           line("regular user (cd3)", days.is_regular_user ? "y" : "n");
}

} // namespace

std::string text_report_t::paint(const std::string& text, const char* code) const {
    return m_has_colours ? std::string("\033[") + code + "m" + text + "\033[0m" : text;
}

std::string text_report_t::rules(const library::plan_t& plan) const {
    std::string text = "\nThe decision, in its order (=> is the rule that decides):\n";
    for (const library::step_t& step : plan.steps) {
        const bool decides = step.verdict != library::verdict_t::undecided;
        const std::string finding = printable(finding_of(step, plan));
        const std::string row = column(name_of(step), 28) +
                                (finding.empty() ? outcome_of(step) : column(outcome_of(step), 13) + finding);
        text += decides ? paint("=> " + row, bold) + "\n" : "   " + row + "\n";
    }
    return text;
}

std::string text_report_t::status(const inspection_t& found) const {
    return "Would usage of \"" + printable(found.subject.product) + "\" be reported now?  " +
           paint(printable(answer_of(found)), found.would_report() ? green : red) + "\n" + rules(found.plan) +
           "\nMachine id:\n" + line(printable(found.machine_id), describe_machine_id(found.plan)) +
           files(found.plan) + delivery(found) + events(found) + days(found.plan.days);
}

std::string text_report_t::preview(const inspection_t& found, const std::vector<preview_t>& previews) const {
    std::string text;
    for (const preview_t& one : previews)
        text += paint(printable(one.feature), bold) + "\n  " +
                (one.body ? m_is_terminal ? printable(*one.body) : *one.body
                          : "nothing would be posted: " + one.why_not) +
                "\n";
    if (found.plan.machine_id.needs_fresh_id() && found.would_report())
        text += "(NEW-MACHINE-ID stands for the id that the product creates at its next start.)\n";
    return text + fault_of_filter(found);
}

std::string text_report_t::consent(const consent_report_t& report) const {
    std::string text = "Recorded answer: " + paint(report.answer, report.answer == "yes" ? green : red) +
                       "\n" + file("file", report.file);
    if (!report.recorded.empty() && report.recorded != report.answer)
        text += "   " + report.recorded + " was written, but products cannot read it\n";
    if (!report.overridden_by.empty())
        text += "   " + report.overridden_by + " is set here and overrides the answer\n";
    return text;
}

std::string text_report_t::products(const std::vector<library::stored_product_t>& products) const {
    std::string text;
    for (const library::stored_product_t& product : products)
        text += paint(printable(utf16_to_utf8(product.name)), bold) + "\n   " +
                printable(utf16_to_utf8(product.statistic_dir.as_string())) + "\n";
    return products.empty() ? "No product stores data for this user.\n" : text;
}

text_report_t text_report() {
    return {is_terminal(), has_colours()};
}

} // namespace ostrelctl
