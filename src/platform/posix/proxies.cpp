// The proxies that the system's settings name: POSIX has none except environment variables.
#include "platform/proxies.h"

namespace ostrel_platform {

std::vector<system_proxy_t> system_proxies(const std::string& /*url*/) {
    return {};
}

} // namespace ostrel_platform
