// Prevents the host's signal handlers from running on the library's threads.
#pragma once

#include <memory>

namespace ostrel_platform {

/// While an object exists, all signals are blocked on the calling thread. Threads that this thread starts in
/// the meantime inherit the mask and keep it. No-op on systems without signal masks.
class signal_block_t {
public:
    signal_block_t();
    ~signal_block_t();
    signal_block_t(const signal_block_t&) = delete;
    signal_block_t& operator=(const signal_block_t&) = delete;

private:
    struct mask_t;
    std::unique_ptr<mask_t> m_former;
};

} // namespace ostrel_platform
