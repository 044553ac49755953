// The tool's output, for people and for programs.
#pragma once

#include "inspection.h"
#include "preview.h"

#include "collector/hit.h"

#include <string>
#include <vector>

namespace ostrelctl {

/// The answer that all products of the maker share.
struct consent_report_t {
    library::place_t file;
    std::string answer;        ///< "yes", "no" or "none", as products read it
    std::string recorded;      ///< the answer that this command has written; empty if it wrote none
    std::string overridden_by; ///< the variable that overrides the answer; empty if none is set
};

/// The output for people. Control characters are escaped, so that no file or variable can control the
/// terminal. One text is not escaped: the body of a hit, if standard output is not a terminal.
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

/// The report in the form that suits the current standard output.
text_report_t text_report();

/// The output for programs: one JSON document.
std::string status_json(const inspection_t& found);
std::string preview_json(const inspection_t& found, const std::vector<preview_t>& previews);
std::string consent_json(const consent_report_t& report);
std::string products_json(const std::vector<library::stored_product_t>& products);

/// One JSON object on one line. @param body left out if null
std::string hit_json(const collector::hit_t& hit, const std::string* body);
std::string malformed_json(const std::string& reason, const std::string& body);

} // namespace ostrelctl
