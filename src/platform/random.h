// The system's cryptographic random source.
#pragma once

#include <cstdint>

namespace ostrel_platform {

/// 32 random bits. Throws std::system_error when the system has none to give.
std::uint32_t random_bits();

} // namespace ostrel_platform
