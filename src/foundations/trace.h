// Diagnostic lines: loggers of the modules, entry and exit of functions, decisions, values and failures.
#pragma once

#include "foundations/namespace_text.h"

#include <log4cplus/logger.h>

#include <atomic>
#include <string>
#include <string_view>
#include <vector>

namespace OSTREL_NAMESPACE {

/// The levels in use, as log4cplus numbers them.
enum class log_level_t : int {
    trace = 0,
    info = 20000,
    error = 40000,
};

/// True as soon as the process destroys its static objects.
extern std::atomic<bool> is_log_closed;

/// A module's logger. It is created when the library is loaded and is read-only afterwards. It is never
/// destroyed, because threads of the host may report features until the process has ended. As soon as the
/// process destroys its static objects, nothing is logged.
class component_logger_t {
public:
    /// Configures the component's logger first, then stores a reference to it.
    explicit component_logger_t(const wchar_t* name);

    /// Whether an appender would receive a line of this level. Checked before any text is built, so that a
    /// line that no appender receives costs no more than this check.
    bool is_enabled_for(log_level_t level) const {
        return !is_log_closed.load(std::memory_order_relaxed) &&
               m_loggers.front().isEnabledFor(static_cast<int>(level)) && has_listener();
    }

    /// Writes a line without checking its level. @p file is the path of the source file.
    void write(log_level_t level, std::wstring_view message, const char* file, int line) const;

private:
    bool has_listener() const;

    std::vector<log4cplus::Logger>& m_loggers; ///< the component's logger, then its ancestors up to the root
};

/// Joins the pieces of a message: wide texts, narrow texts and integers. Integers are plain decimal in every
/// locale.
class message_t {
public:
    message_t& operator<<(std::wstring_view text);
    message_t& operator<<(const std::wstring& text) { return *this << std::wstring_view(text); }
    message_t& operator<<(const wchar_t* text) { return *this << std::wstring_view(text); }
    message_t& operator<<(const char* text);
    message_t& operator<<(bool value) { return *this << (value ? L"1" : L"0"); }
    template <class Integer>
    message_t& operator<<(Integer value) {
        return *this << std::to_wstring(value);
    }

    const std::wstring& text() const { return m_text; }

private:
    std::wstring m_text;
};

/// Writes a function's entry line on construction and its exit line on destruction, also if an exception
/// leaves the function. One object is used by one thread.
///
/// Stores a reference and views: the logger and the texts must be static.
class call_tracer_t {
public:
    call_tracer_t(const component_logger_t& logger, std::wstring_view signature, const char* file, int line);
    ~call_tracer_t();
    call_tracer_t(const call_tracer_t&) = delete;
    call_tracer_t& operator=(const call_tracer_t&) = delete;

private:
    void write(std::wstring_view prefix) const;

    const component_logger_t& m_logger;
    std::wstring_view m_signature;
    const char* m_file;
    int m_line;
};

} // namespace OSTREL_NAMESPACE

// These are macros because a diagnostic line contains the source position of its call, and because its text
// is built only if its level is on.

/// The first statement of a traced function. The signature is a literal.
#define OSTREL_TRACE_CALL(logger, signature)                                                                 \
    static constexpr std::wstring_view ostrel_signature = signature;                                         \
    const OSTREL_NAMESPACE::call_tracer_t ostrel_call_tracer((logger), ostrel_signature, __FILE__, __LINE__)

// NOLINTBEGIN(bugprone-macro-parentheses): message << (a << b) would evaluate a << b before it appends a

/// Writes the pieces, joined by <<, at a level of log_level_t.
#define OSTREL_LOG(logger, level, pieces)                                                                    \
    do {                                                                                                     \
        using ostrel_level_t = OSTREL_NAMESPACE::log_level_t;                                                \
        if ((logger).is_enabled_for(ostrel_level_t::level)) {                                                \
            OSTREL_NAMESPACE::message_t ostrel_message;                                                      \
            ostrel_message << pieces;                                                                        \
            (logger).write(ostrel_level_t::level, ostrel_message.text(), __FILE__, __LINE__);                \
        }                                                                                                    \
    } while (false)

/// Writes a failure: the pieces, then the source file and line.
#define OSTREL_LOG_ERROR(logger, pieces)                                                                     \
    OSTREL_LOG(logger, error, pieces << L", at file: " << __FILE__ << L":" << __LINE__)

// NOLINTEND(bugprone-macro-parentheses)
