// Stand-in for the host's logging wrapper.
#pragma once

#include <string>

namespace brask_1::log {

/// Configures the log4cplus logger of that name for a component. This stand-in leaves the configuration to
/// the host.
void configureComponentLogger(const std::wstring& name);

} // namespace brask_1::log
