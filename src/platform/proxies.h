// The proxies that the system's settings name.
#pragma once

#include <string>
#include <vector>

namespace ostrel_platform {

/// Every proxy that the system names for @p url, in the order of trial: the browser's, the discovered one,
/// the machine's default. Each is the system's own text, in UTF-8 and not parsed. Never fails. May block
/// while it asks the network for an automatic configuration.
std::vector<std::string> system_proxies(const std::string& url);

} // namespace ostrel_platform
