// The system's cryptographic random source, on POSIX.
#include "platform/random.h"

#include <cerrno>
#include <system_error>
#include <unistd.h>

namespace ostrel_platform {

std::uint32_t random_bits() {
    std::uint32_t bits = 0;
    if (::getentropy(&bits, sizeof bits) != 0)
        throw std::system_error(errno, std::generic_category(), "getentropy");
    return bits;
}

} // namespace ostrel_platform
