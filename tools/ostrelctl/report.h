// The tool's answers, for people and for programs.
#pragma once

#include "inspection.h"
#include "preview.h"

#include <string>
#include <vector>

namespace ostrelctl {

/// The shared answer.
struct consent_report_t {
    library::place_t file;
    std::string answer;        ///< "yes", "no" or "none"
    std::string overridden_by; ///< the variable that decides whatever the answer is; empty if none is set
};

/// For people. Control characters are made visible, so that no file or variable can drive a terminal; only
/// the body of a hit that goes elsewhere is given to the byte.
class text_report_t {
public:
    text_report_t(bool is_terminal, bool has_colours)
        : m_is_terminal(is_terminal), m_has_colours(has_colours) {}

    std::string status(const inspection_t& found) const;
    std::string preview(const inspection_t& found, const std::vector<preview_t>& previews) const;
    std::string consent(const consent_report_t& report) const;

private:
    std::string rules(const library::plan_t& plan) const;
    std::string paint(const std::string& text, const char* code) const;

    bool m_is_terminal;
    bool m_has_colours;
};

/// For programs: one JSON document.
std::string status_json(const inspection_t& found);
std::string preview_json(const inspection_t& found, const std::vector<preview_t>& previews);
std::string consent_json(const consent_report_t& report);

} // namespace ostrelctl
