// Tells a forked child from the process that created its objects.
#pragma once

#include <cstdint>

namespace ostrel_platform {

/// The number of forks between the process that loaded the library and this one. A call costs one atomic
/// load. Always 0 on systems without fork.
std::uint32_t fork_generation();

} // namespace ostrel_platform
