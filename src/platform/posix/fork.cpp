// Tells a forked child from the process that made its objects, on POSIX.
#include "platform/fork.h"

#include <atomic>
#include <pthread.h>

namespace ostrel_platform {

namespace {

std::atomic<std::uint32_t> generation{0};

// Asked for once, when the library is loaded; the C library forgets the handler when it is unloaded.
[[maybe_unused]] const int registered =
    ::pthread_atfork(nullptr, nullptr, [] { generation.fetch_add(1, std::memory_order_relaxed); });

} // namespace

std::uint32_t fork_generation() {
    return generation.load(std::memory_order_relaxed);
}

} // namespace ostrel_platform
