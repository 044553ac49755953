// The system's cryptographic random source, on Windows.
#define _CRT_RAND_S // NOLINT(bugprone-reserved-identifier): without it the runtime does not declare rand_s

#include "platform/random.h"

#include <stdlib.h>
#include <system_error>

namespace ostrel_platform {

std::uint32_t random_bits() {
    unsigned int bits = 0;
    if (const int error = ::rand_s(&bits); error != 0)
        throw std::system_error(error, std::generic_category(), "rand_s");
    return bits;
}

} // namespace ostrel_platform
