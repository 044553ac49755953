// What the library would find and decide now, for one user and product.
#pragma once

#include "files.h"

#include "platform/network.h"
#include "statistic_impl/decision.h"
#include "statistic_impl/event_filter.h"
#include "statistic_impl/last_active_dates.h"
#include "statistic_impl/settings_paths.h"

#include <optional>
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

/// The machine id, and where it comes from.
struct machine_id_t {
    std::wstring id;
    std::string source;  ///< for people
    bool is_new = false; ///< a host would make one: the id is a placeholder
};

/// One line of the decision.
struct rule_line_t {
    std::string name;
    std::string finding;
    library::verdict_t verdict = library::verdict_t::undecided;
    bool decides = false;
};

/// Days of use as a host that reports today would count them.
struct days_t {
    std::vector<library::active_date_t> stored;
    std::string why_ignored; ///< empty when a host would read the file
    std::size_t count = 0;   ///< with today
    bool is_regular_user = false;
};

struct inspection_t {
    subject_t subject;
    machine_id_t machine_id;
    std::vector<rule_line_t> rules; ///< in the order of the decision
    library::verdict_t verdict = library::verdict_t::undecided;
    std::string domain;
    std::vector<file_t> files;
    std::string endpoint; ///< passwords masked
    std::vector<std::string>
        proxies; ///< in the order of trial, passwords masked; an empty one is libcurl's own
    library::event_filter_t events;
    days_t days;

    bool would_report() const { return library::allows(verdict); }
};

/// Looks at everything. Reads files and environment and resolves one name; writes, creates and sends nothing.
inspection_t inspect(const subject_t& subject);

/// The event filter among the files; null when the host has none.
const file_t* filter_of(const inspection_t& found);

/// The text with whatever stands where a URL has its password replaced by "***".
std::string mask_password(const std::string& url);

/// For people: why the verdict is what it is; empty for one that decides nothing.
std::string because(library::verdict_t verdict);

/// For people: the consequence of a verdict, for example "no: the user has not agreed".
std::string explain(library::verdict_t verdict);

} // namespace ostrelctl
