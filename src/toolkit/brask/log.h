// Stand-in for the host's logging wrapper.
#pragma once

#include <string>

namespace brask_1::log {

/// Configures the log4cplus logger of a component. This stand-in does nothing: the host configures the
/// logger.
void configureComponentLogger(const std::wstring& name);

} // namespace brask_1::log
