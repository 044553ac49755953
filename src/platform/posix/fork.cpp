// Tells a forked child from the process that created its objects, on POSIX.
#include "platform/fork.h"

#include <atomic>
#include <pthread.h>

namespace ostrel_platform {

namespace {

std::atomic<std::uint32_t> generation{0};

// Registered once, when the library is loaded. The C library removes the handler when it unloads the library.
[[maybe_unused]] const int registered =
    ::pthread_atfork(nullptr, nullptr, [] { generation.fetch_add(1, std::memory_order_relaxed); });

} // namespace

std::uint32_t fork_generation() {
    return generation.load(std::memory_order_relaxed);
}

} // namespace ostrel_platform
