// The commands that only show something.
#include "commands.h"

#include "report.h"
#include "terminal.h"

#include <algorithm>

namespace ostrelctl {

namespace {

outcome_t outcome(bool is_positive, std::string text) {
    return {is_positive ? exit_status_t::would_report : exit_status_t::would_not_report, std::move(text), {}};
}

} // namespace

outcome_t show_status(const request_t& request) {
    inspection_t found = inspect(request.subject);
    if (found.would_report())
        found.delivery = find_delivery(found.plan.endpoint);
    return outcome(found.would_report(),
                   request.wants_json ? status_json(found) : text_report().status(found));
}

outcome_t show_previews(const request_t& request) {
    const inspection_t found = inspect(request.subject);
    const std::vector<preview_t> previews = preview(found, request.features);
    const bool all = std::all_of(previews.begin(), previews.end(),
                                 [](const preview_t& one) { return one.body.has_value(); });
    return outcome(all, request.wants_json ? preview_json(found, previews)
                                           : text_report().preview(found, previews));
}

outcome_t show_products(const request_t& request) {
    const auto products = library::stored_products();
    return outcome(true, request.wants_json ? products_json(products) : text_report().products(products));
}

} // namespace ostrelctl
