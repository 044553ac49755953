// Counts heap allocations for each thread, by replacing malloc, calloc and realloc of the C library.
#include "allocations.h"

extern "C" {
void* __libc_malloc(std::size_t size);                    // NOLINT
void* __libc_calloc(std::size_t count, std::size_t size); // NOLINT
void* __libc_realloc(void* block, std::size_t size);      // NOLINT
}

namespace {

thread_local std::size_t count_of_this_thread = 0;

} // namespace

extern "C" {

void* malloc(std::size_t size) {
    ++count_of_this_thread;
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
    ++count_of_this_thread;
    return __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) {
    ++count_of_this_thread;
    return __libc_realloc(block, size);
}
}

namespace bench {

std::size_t allocations() {
    return count_of_this_thread;
}

} // namespace bench
