// The signal block does nothing on Windows: the system interrupts no thread to run a signal handler.
#include "platform/signals.h"

namespace ostrel_platform {

struct signal_block_t::mask_t {};

signal_block_t::signal_block_t() = default;
signal_block_t::~signal_block_t() = default;

} // namespace ostrel_platform
