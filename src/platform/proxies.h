// The proxies that the system's settings name.
#pragma once

#include <string>
#include <vector>

namespace ostrel_platform {

/// Every proxy that the system names for @p url, each as the system spells it (UTF-8, not parsed), in the
/// order of trial: the browser's, the discovered, the machine's default. Never fails; may block while the
/// network is asked for an automatic configuration.
std::vector<std::string> system_proxies(const std::string& url);

} // namespace ostrel_platform
