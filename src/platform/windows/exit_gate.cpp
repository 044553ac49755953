// The exit gate does nothing on Windows: the system ends all other threads before it calls exit handlers.
#include "platform/exit_gate.h"

namespace ostrel_platform {

void guard_exit_of_this_thread() {}

exit_gate_t::exit_gate_t() : m_is_open(true) {}

exit_gate_t::~exit_gate_t() = default;

} // namespace ostrel_platform
