// The tool's answers, for people and for programs.
#pragma once

#include "inspection.h"
#include "preview.h"

#include "collector/hit.h"

#include <string>
#include <vector>

namespace ostrelctl {

/// The shared answer.
struct consent_report_t {
    library::place_t file;
    std::string answer;        ///< "yes", "no" or "none", as products read it
    std::string recorded;      ///< the answer that was written by this call; empty if none was
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
    std::string products(const std::vector<library::stored_product_t>& products) const;

private:
    std::string rules(const library::plan_t& plan) const;
    std::string paint(const std::string& text, const char* code) const;

    bool m_is_terminal;
    bool m_has_colours;
};

/// The report for standard output.
text_report_t text_report();

/// For programs: one JSON document.
std::string status_json(const inspection_t& found);
std::string preview_json(const inspection_t& found, const std::vector<preview_t>& previews);
std::string consent_json(const consent_report_t& report);
std::string products_json(const std::vector<library::stored_product_t>& products);

/// One JSON object in one line. @param body may be null
std::string hit_json(const collector::hit_t& hit, const std::string* body);
std::string malformed_json(const std::string& reason, const std::string& body);

} // namespace ostrelctl
