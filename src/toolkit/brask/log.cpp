// Stand-in for the host's logging wrapper.
#include "toolkit/brask/log.h"

namespace brask_1::log {

void configureComponentLogger(const std::wstring& /*name*/) {}

} // namespace brask_1::log
