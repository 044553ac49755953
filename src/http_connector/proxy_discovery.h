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

} // namespace OSTREL_NAMESPACE
