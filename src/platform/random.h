// The system's cryptographic random source.
#pragma once

#include <cstdint>

namespace ostrel_platform {

/// 32 random bits. Throws std::system_error if the system has no random source.
std::uint32_t random_bits();

} // namespace ostrel_platform
