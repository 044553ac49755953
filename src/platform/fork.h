// Tells a forked child from the process that made its objects.
#pragma once

#include <cstdint>

namespace ostrel_platform {

/// Grows by one in every forked child; reading it costs one load. Always the same where processes cannot
/// fork.
std::uint32_t fork_generation();

} // namespace ostrel_platform
