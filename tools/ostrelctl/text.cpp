// The answers for people.
#include "report.h"

#include "toolkit/quillkit/strings.h"

#include <algorithm>

namespace ostrelctl {

namespace {

constexpr const char* bold = "1";
constexpr const char* red = "31";
constexpr const char* green = "32";

// UTF-8 passes; what could move a cursor does not.
std::string printable(const std::string& text) {
    constexpr const char* digits = "0123456789ABCDEF";
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte != 0x7F)
            result.push_back(c);
        else
            result.append("\\x").append(1, digits[byte >> 4U]).append(1, digits[byte & 0xFU]);
    }
    return result;
}

std::string column(const std::string& text, std::size_t width) {
    return text + std::string(std::max(width, text.size() + 1) - text.size(), ' ');
}

std::string line(const std::string& name, const std::string& value) {
    return "   " + column(name, 28) + printable(value) + "\n";
}

std::string files(const inspection_t& found) {
    std::string text = "\nFiles:\n";
    for (const file_t& file : found.files)
        text += line(file.role, column(file.state, 12) + column(file.mode, 6) + file.path);
    return text;
}

std::string delivery(const inspection_t& found) {
    std::string text = "\nDelivery:\n" + line("endpoint", found.endpoint);
    for (std::size_t i = 0; i < found.proxies.size(); ++i)
        text += line("proxy candidate " + std::to_string(i + 1),
                     found.proxies[i].empty() ? "none, or what libcurl finds by itself" : found.proxies[i]);
    return text;
}

std::string events(const inspection_t& found) {
    std::string text = "\nEvents in the filter:\n";
    for (const std::wstring_view event : found.events.names())
        text += line(printable(quillkit::strings::utf16_to_utf8(event)), "");
    if (found.events.names().empty())
        text += "   none: only \"run.\" and one word would be sent\n";
    if (found.subject.filter.empty() && found.subject.folder.empty())
        text += "   (the host says where its filter is: --product-folder DIR or --filter FILE)\n";
    return text;
}

// A host would say nothing, and send only the names that need no filter.
std::string fault_of_filter(const inspection_t& found) {
    const file_t* const filter = filter_of(found);
    if (filter == nullptr || filter->state == "readable")
        return {};
    return "(The event filter is " + filter->state +
           ", so that it lists nothing: " + printable(filter->path) + ")\n";
}

std::string days(const days_t& days) {
    const std::string stored = std::to_string(days.stored.size());
    return "\nDays of use:\n" +
           line("stored", days.why_ignored.empty()
                              ? stored
                              : stored + ", but a host counts none: " + days.why_ignored) +
           line("counting today", std::to_string(days.count)) +
           line("cd3 of a hit", days.is_regular_user ? "y" : "n");
}

} // namespace

std::string text_report_t::paint(const std::string& text, const char* code) const {
    return m_has_colours ? std::string("\033[") + code + "m" + text + "\033[0m" : text;
}

std::string text_report_t::rules(const inspection_t& found) const {
    std::string text = "\nThe decision, in its order (=> is the first rule that fires):\n";
    bool is_decided = false;
    for (const rule_line_t& rule : found.rules) {
        const std::string says = is_decided ? "(not reached)" : explain(rule.verdict);
        const std::string row = column(rule.name, 28) + column(printable(rule.finding), 44) + printable(says);
        text += rule.decides ? paint("=> " + row, bold) + "\n" : "   " + row + "\n";
        is_decided = is_decided || rule.decides;
    }
    return text;
}

std::string text_report_t::status(const inspection_t& found) const {
    const std::string answer = explain(found.verdict);
    return "Would usage of \"" + printable(found.subject.product) + "\" be reported now?  " +
           paint(answer, found.would_report() ? green : red) + "\n" + rules(found) + "\nMachine id:\n" +
           line(printable(quillkit::strings::utf16_to_utf8(found.machine_id.id)), found.machine_id.source) +
           files(found) + delivery(found) + events(found) + days(found.days);
}

std::string text_report_t::preview(const inspection_t& found, const std::vector<preview_t>& previews) const {
    std::string text;
    for (const preview_t& one : previews)
        text += paint(printable(one.feature), bold) + "\n  " +
                (one.body ? m_is_terminal ? printable(*one.body) : *one.body
                          : "nothing would be posted: " + one.why_not) +
                "\n";
    if (found.machine_id.is_new && found.would_report())
        text += "(NEW-MACHINE-ID stands for the id that a host makes when it runs first.)\n";
    return text + fault_of_filter(found);
}

std::string text_report_t::consent(const consent_report_t& report) const {
    return "Recorded answer: " + paint(report.answer, report.answer == "yes" ? green : red) + "\n" +
           line(column(report.file.state, 12) + report.file.mode, report.file.path) +
           (report.effect.empty() ? "" : "   " + printable(report.effect) + "\n");
}

} // namespace ostrelctl
