// Prevents the host's signal handlers from running on the library's threads, on POSIX.
#include "platform/signals.h"

#include <csignal>

namespace ostrel_platform {

struct signal_block_t::mask_t {
    sigset_t set{};
};

signal_block_t::signal_block_t() : m_former(std::make_unique<mask_t>()) {
    sigset_t all;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &m_former->set);
}

signal_block_t::~signal_block_t() {
    ::pthread_sigmask(SIG_SETMASK, &m_former->set, nullptr);
}

} // namespace ostrel_platform
