// What the library would find and decide now, for one user and product.
#pragma once

#include "statistic_impl/plan.h"

#include <string>
#include <vector>

namespace ostrelctl {

namespace library = OSTREL_NAMESPACE;

/// Whom to look at; what a host would say of itself. UTF-8.
struct subject_t {
    std::string product = "vemtra"; ///< that of the object which C++ hosts share
    std::string version = "unknown";
    std::string settings; ///< the product's folder below the company folder; empty: the product
    std::string folder;   ///< holds statistic/enabled_stat_events.xml; may be empty
    std::string filter;   ///< a filter elsewhere; empty: the one in the folder
};

struct inspection_t {
    subject_t subject;
    library::plan_t plan;
    std::string machine_id; ///< UTF-8; a placeholder where a host would make a fresh one
    std::string endpoint;   ///< password masked
    /// In the order of trial, passwords masked; an empty one leaves the choice to libcurl.
    std::vector<std::string> proxies;

    bool would_report() const { return library::allows(plan.verdict); }
};

/// Asks the library for its plan and for the proxies. Writes, creates and sends nothing.
inspection_t inspect(const subject_t& subject);

/// The event filter among the files; null when the host has none.
const library::place_t* filter_of(const inspection_t& found);

/// The URL with "***" in the place of its password.
std::string mask_password(const std::string& url);

} // namespace ostrelctl
