// Tells a forked child from the process that created its objects.
#pragma once

#include <cstdint>

namespace ostrel_platform {

/// One more in every forked child than in its parent; reading it costs one load. Constant on systems without
/// fork.
std::uint32_t fork_generation();

} // namespace ostrel_platform
