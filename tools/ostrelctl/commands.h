// The tool's commands, one function each.
#pragma once

#include "inspection.h"

#include <string>
#include <vector>

namespace ostrelctl {

/// What the command line asks for; UTF-8.
struct request_t {
    subject_t subject;
    std::vector<std::string> features; ///< of preview
    std::string answer;                ///< of consent: "yes", "no", "forget", or empty to show it
    bool wants_json = false;
};

/// Would report, or done; would not report; wrong usage, or failed.
enum class exit_status_t { would_report = 0, would_not_report = 1, failed = 2 };

/// What a command leads to.
struct outcome_t {
    exit_status_t status;
    std::string text; ///< for standard output
    std::string done; ///< what was changed, in case that the text cannot be written; empty if nothing
};

// Each throws std::exception with a message for people if it fails.
outcome_t show_status(const request_t& request);
outcome_t show_previews(const request_t& request);
outcome_t show_or_change_consent(const request_t& request);
outcome_t show_products(const request_t& request);

} // namespace ostrelctl
