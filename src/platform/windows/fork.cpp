// Processes do not fork on Windows.
#include "platform/fork.h"

namespace ostrel_platform {

std::uint32_t fork_generation() {
    return 0;
}

} // namespace ostrel_platform
