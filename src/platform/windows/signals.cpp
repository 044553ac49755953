// Windows delivers no signals to threads that did not ask for them: there is nothing to keep off.
#include "platform/signals.h"

namespace ostrel_platform {

struct signal_block_t::mask_t {};

signal_block_t::signal_block_t() = default;
signal_block_t::~signal_block_t() = default;

} // namespace ostrel_platform
