// The lines that the library logs, kept in memory.
#pragma once

#include "foundations/namespace_text.h"
#include "text/utf.h"

#include <functional>
#include <log4cplus/appender.h>
#include <log4cplus/logger.h>
#include <log4cplus/spi/loggingevent.h>
#include <string>
#include <vector>

namespace test_support {

struct log_line_t {
    int level = 0;
    std::string text; ///< UTF-8
};

/// Captures one logger's lines from a minimum level. Not thread-safe: only the owner's thread may log.
class log_capture_t {
public:
    explicit log_capture_t(const std::string& logger = "ostrel.statistic", int level = 0)
        : m_logger(log4cplus::Logger::getInstance(log4cplus::tstring(logger.begin(), logger.end()))),
          m_former_level(m_logger.getLogLevel()) {
        m_logger.setLogLevel(level);
        m_logger.addAppender(log4cplus::SharedAppenderPtr(m_memory.get()));
    }
    ~log_capture_t() {
        m_logger.removeAppender(log4cplus::SharedAppenderPtr(m_memory.get()));
        m_logger.setLogLevel(m_former_level);
    }

    const std::vector<log_line_t>& lines() const { return m_memory->lines; }
    void clear() { m_memory->lines.clear(); }
    /// Sets a function that every log call calls.
    void on_line(std::function<void()> action) { m_memory->action = std::move(action); }
    std::vector<std::string> texts() const {
        std::vector<std::string> result;
        for (const log_line_t& line : lines())
            result.push_back(line.text);
        return result;
    }

private:
    struct memory_t : log4cplus::Appender {
        ~memory_t() override { destructorImpl(); }
        void close() override { closed = true; }
        void append(const log4cplus::spi::InternalLoggingEvent& event) override {
            const std::basic_string_view<log4cplus::tchar> message = event.getMessage();
            lines.push_back({event.getLogLevel(), ostrel_platform::convert_utf<char>(message)});
            action();
        }

        std::vector<log_line_t> lines;
        std::function<void()> action = [] {};
    };

    log4cplus::Logger m_logger;
    log4cplus::LogLevel m_former_level;
    log4cplus::helpers::SharedObjectPtr<memory_t> m_memory{new memory_t};
};

// Names as they appear in logged signatures.
const std::string library = ostrel_platform::to_utf8(OSTREL_NAMESPACE_TEXT) + "::";
const std::string wide_text = ostrel_platform::to_utf8(OSTREL_WSTRING_TEXT);

/// The lines of a traced call.
inline std::vector<std::string> traced(const std::string& signature, std::vector<std::string> inner = {}) {
    inner.insert(inner.begin(), "ENTER: " + signature);
    inner.push_back("EXIT:  " + signature);
    return inner;
}

/// The lines of a call that reads the environment's switches.
inline std::vector<std::string> traced_switches(const std::string& decision) {
    const std::string type = library + "statistic_impl_t::";
    return traced(type + "env_vars_state_t " + type + "get_env_vars_state()", {"Return '" + decision});
}

} // namespace test_support
