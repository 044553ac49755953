// Which proxies may lead to the collector.
#pragma once

#include "ostrel/version.h"

#include <string>
#include <vector>

namespace OSTREL_NAMESPACE {

/// Appends every proxy that the system's settings name for @p url, in the order of trial, as the system
/// spells it; the variable http_proxy only where the list is still empty, also with an empty value. Never
/// fails; may block while the network is asked for an automatic configuration.
void discover_proxies(const std::string& url, std::vector<std::string>& candidates);

/// The candidates in the order of trial: what discover_proxies finds, and last an empty one, which leaves the
/// choice to libcurl.
std::vector<std::string> proxy_candidates(const std::string& url);

} // namespace OSTREL_NAMESPACE
