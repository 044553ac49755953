// Stand-in for the host's logging wrapper.
#pragma once

#include <string>

namespace brask_1::log {

/// Readies the log4cplus logger of that name for a component, without touching what the host configured.
///
/// A host that configures no logging hears nothing: without any appender log4cplus would complain on the
/// host's standard error at the first message.
void configureComponentLogger(const std::wstring& name);

} // namespace brask_1::log
