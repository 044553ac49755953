// What the library would find and decide now, for this user and one product.
#pragma once

#include "http_connector/proxy_discovery.h"
#include "statistic_impl/plan.h"

#include <optional>
#include <string>
#include <vector>

namespace ostrelctl {

namespace library = OSTREL_NAMESPACE;

/// The product to inspect, as its host describes it to the library; UTF-8.
struct subject_t {
    std::string product = "vemtra"; ///< default: the id of the object that all C++ components share
    std::string version = "unknown";
    std::string settings; ///< name of the folder below the company folder; if empty, the product id
    std::string folder;   ///< holds statistic/enabled_stat_events.xml; may be empty
    std::string filter;   ///< path of another event filter; if empty, the filter in the folder
};

/// The proxies on the way to the collector.
struct delivery_t {
    /// In the order in which the library tries them. Passwords are masked; an empty text is a direct
    /// connection.
    std::vector<library::found_proxy_t> proxies;
    std::string no_proxy; ///< the value of the environment variable no_proxy or NO_PROXY
};

struct inspection_t {
    subject_t subject;
    library::plan_t plan;
    std::string machine_id;             ///< UTF-8; a placeholder if a product would create a new id
    std::string endpoint;               ///< password masked
    std::optional<delivery_t> delivery; ///< nullopt if nothing would be reported

    bool would_report() const { return library::allows(plan.decision.verdict); }
};

/// Computes what the library would do. Writes, creates and sends nothing.
inspection_t inspect(const subject_t& subject);

/// Asks the system for its proxies. This may query the network.
delivery_t find_delivery(const std::string& endpoint);

/// The URL with "***" in the place of its password.
std::string mask_password(const std::string& url);

} // namespace ostrelctl
