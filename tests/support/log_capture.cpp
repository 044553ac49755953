// The lines that the library logs, kept in memory.
#include "support/log_capture.h"

#include "platform/utf.h"

#include <algorithm>
#include <log4cplus/appender.h>
#include <log4cplus/logger.h>
#include <log4cplus/spi/loggingevent.h>
#include <mutex>

namespace test_support {

namespace {

template <class Text>
std::string narrow(const Text& text) {
    return ostrel_platform::convert_utf<char>(std::basic_string_view<typename Text::value_type>(text));
}

class memory_appender_t : public log4cplus::Appender {
public:
    ~memory_appender_t() override { destructorImpl(); }
    void close() override { closed = true; }

    std::mutex mutex;
    std::vector<log_line_t> lines;

protected:
    void append(const log4cplus::spi::InternalLoggingEvent& event) override {
        const std::lock_guard<std::mutex> lock(mutex);
        lines.push_back(
            {event.getLogLevel(), narrow(event.getMessage()), narrow(event.getFile()), event.getLine()});
    }
};

} // namespace

struct log_capture_t::impl_t {
    log4cplus::Logger logger;
    log4cplus::LogLevel former_level;
    log4cplus::helpers::SharedObjectPtr<memory_appender_t> appender;
};

log_capture_t::log_capture_t(const std::string& logger, int level)
    : m_impl(new impl_t{log4cplus::Logger::getInstance(log4cplus::tstring(logger.begin(), logger.end())), 0,
                        log4cplus::helpers::SharedObjectPtr<memory_appender_t>(new memory_appender_t)}) {
    m_impl->former_level = m_impl->logger.getLogLevel();
    m_impl->logger.setLogLevel(level);
    m_impl->logger.addAppender(log4cplus::SharedAppenderPtr(m_impl->appender.get()));
}

log_capture_t::~log_capture_t() {
    m_impl->logger.removeAppender(log4cplus::SharedAppenderPtr(m_impl->appender.get()));
    m_impl->logger.setLogLevel(m_impl->former_level);
    delete m_impl;
}

std::vector<log_line_t> log_capture_t::lines() const {
    const std::lock_guard<std::mutex> lock(m_impl->appender->mutex);
    return m_impl->appender->lines;
}

std::vector<std::string> log_capture_t::texts() const {
    std::vector<std::string> result;
    for (const auto& line : lines())
        result.push_back(line.text);
    return result;
}

int log_capture_t::count(const std::string& text) const {
    const auto all = texts();
    return static_cast<int>(std::count(all.begin(), all.end(), text));
}

void log_capture_t::clear() {
    const std::lock_guard<std::mutex> lock(m_impl->appender->mutex);
    m_impl->appender->lines.clear();
}

} // namespace test_support
