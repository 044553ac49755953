// Counts heap allocations for each thread.
#pragma once

#include <cstddef>

namespace bench {

/// @return how often the calling thread has called malloc, calloc and realloc
std::size_t allocations();

} // namespace bench
