// Stand-in for the host's logging wrapper.
#include "toolkit/brask/log.h"

#include "toolkit/brask/tstring.h"

#include <log4cplus/logger.h>
#include <log4cplus/nullappender.h>

namespace brask_1::log {

void configureComponentLogger(const std::wstring& name) {
    auto logger = log4cplus::Logger::getInstance(to_tstring(name));
    if (logger.getAllAppenders().empty())
        logger.addAppender(log4cplus::SharedAppenderPtr(new log4cplus::NullAppender));
}

} // namespace brask_1::log
