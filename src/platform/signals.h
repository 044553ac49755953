// Keeps the host's signal handlers off the library's own threads.
#pragma once

#include <memory>

namespace ostrel_platform {

/// Blocks all signals on the calling thread while it lives; threads started meanwhile inherit that and keep
/// it. Does nothing on systems without signal masks.
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
