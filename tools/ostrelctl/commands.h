// The tool's commands, one function each.
#pragma once

#include "inspection.h"

#include <string>
#include <vector>

namespace ostrelctl {

/// The settings from the command line; UTF-8.
struct request_t {
    subject_t subject;
    std::vector<std::string> features; ///< for preview
    std::string answer;                ///< for consent: "yes", "no", "forget", or empty to show the answer
    bool wants_json = false;
};

/// would_report also means that a change succeeded, failed also means wrong usage.
enum class exit_status_t { would_report = 0, would_not_report = 1, failed = 2 };

/// The result of a command.
struct outcome_t {
    exit_status_t status;
    std::string text; ///< for standard output
    std::string done; ///< the change as a sentence, printed if the text cannot be written; may be empty
};

// On failure, each throws a std::exception with a message for the user.
outcome_t show_status(const request_t& request);
outcome_t show_previews(const request_t& request);
outcome_t show_or_change_consent(const request_t& request);
outcome_t show_products(const request_t& request);

} // namespace ostrelctl
