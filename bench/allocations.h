// Counts what the calling thread asks of the heap.
#pragma once

#include <cstddef>

namespace bench {

/// Calls of malloc, calloc and realloc by this thread so far.
std::size_t allocations();

} // namespace bench
