// What the library would find and decide now, for one user and product.
#pragma once

#include "http_connector/proxy_discovery.h"
#include "statistic_impl/plan.h"

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

/// The way to the collector.
struct delivery_t {
    /// In the order of trial. Passwords are masked; an empty text stands for no proxy.
    std::vector<library::found_proxy_t> proxies;
    std::string no_proxy; ///< the hosts that are reached without one, as the environment spells them
};

struct inspection_t {
    subject_t subject;
    library::plan_t plan;
    std::string machine_id; ///< UTF-8; a placeholder where a host would make a fresh one
    std::string endpoint;   ///< password masked
    std::optional<delivery_t> delivery;

    bool would_report() const { return library::allows(plan.decision.verdict); }
};

/// Asks the library for its plan. Writes, creates and sends nothing.
inspection_t inspect(const subject_t& subject);

/// Asks the system for the proxies, which may ask the network.
delivery_t find_delivery(const std::string& endpoint);

/// The URL with "***" in the place of its password.
std::string mask_password(const std::string& url);

} // namespace ostrelctl
