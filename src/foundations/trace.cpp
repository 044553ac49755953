// Writes diagnostic lines through log4cplus.
#include "foundations/trace.h"

#include "platform/process.h"
#include "toolkit/brask/log.h"
#include "toolkit/quillkit/strings.h"

#include <chrono>
#include <thread>

namespace OSTREL_NAMESPACE {

std::atomic<bool> is_log_closed{false};

namespace {

std::atomic<int> writers{0};

struct writer_t {
    writer_t() { ++writers; }
    ~writer_t() { --writers; }
};

constexpr std::chrono::milliseconds longest_wait{50};

// At process exit, log4cplus destroys itself right after this library. A thread of the host that still writes
// a line would then crash the process. So this destructor closes the log and waits for lines that are being
// written. The wait has a timeout, because the thread that calls exit may be inside a log call itself.
struct closing_t {
    closing_t() = default;
    closing_t(const closing_t&) = delete;
    closing_t& operator=(const closing_t&) = delete;
    ~closing_t() {
        is_log_closed = true;
        if (!ostrel_platform::do_threads_run_at_exit())
            return;
        const auto deadline = std::chrono::steady_clock::now() + longest_wait;
        while (writers > 0 && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
};

const closing_t closing;

// UTF-8 for a narrow build of log4cplus, the unchanged text for a wide build.
template <class Wide>
log4cplus::tstring to_tstring(const Wide& text) {
    if constexpr (std::is_same_v<log4cplus::tstring, std::wstring>)
        return log4cplus::tstring(text);
    else
        return quillkit::strings::utf16_to_utf8(text);
}

// Also creates the ancestors that do not exist yet, so that the list contains every ancestor that the host
// may configure later.
std::vector<log4cplus::Logger>& configured_loggers(std::wstring name) {
    brask_1::log::configureComponentLogger(name);
    auto& loggers = *new std::vector<log4cplus::Logger>;
    for (;;) {
        loggers.push_back(log4cplus::Logger::getInstance(to_tstring(name)));
        const std::size_t dot = name.rfind(L'.');
        if (dot == std::wstring::npos)
            break;
        name.resize(dot);
    }
    loggers.push_back(log4cplus::Logger::getRoot());
    return loggers;
}

} // namespace

component_logger_t::component_logger_t(const wchar_t* name) : m_loggers(configured_loggers(name)) {}

// The result is not cached, because a host may attach an appender at any time and from any thread.
bool component_logger_t::has_listener() const {
    for (log4cplus::Logger& logger : m_loggers) {
        if (!logger.getAllAppenders().empty())
            return true;
        if (!logger.getAdditivity())
            return false;
    }
    return false;
}

void component_logger_t::write(log_level_t level, std::wstring_view message, const char* file,
                               int line) const {
    const writer_t writer;
    if (!is_log_closed)
        m_loggers.front().forcedLog(static_cast<int>(level), to_tstring(message), file, line);
}

message_t& message_t::operator<<(std::wstring_view text) {
    m_text += text;
    return *this;
}

message_t& message_t::operator<<(const char* text) {
    while (*text != '\0')
        m_text.push_back(static_cast<unsigned char>(*text++));
    return *this;
}

call_tracer_t::call_tracer_t(const component_logger_t& logger, std::wstring_view signature, const char* file,
                             int line)
    : m_logger(logger), m_signature(signature), m_file(file), m_line(line) {
    if (m_logger.is_enabled_for(log_level_t::trace))
        write(L"ENTER: ");
}

call_tracer_t::~call_tracer_t() {
    if (!m_logger.is_enabled_for(log_level_t::trace))
        return;
    try {
        // Two spaces align the signature with the one in the entry line.
        write(L"EXIT:  ");
    } catch (...) { // NOLINT(bugprone-empty-catch): a lost line is better than a host that is terminated
    }
}

void call_tracer_t::write(std::wstring_view prefix) const {
    m_logger.write(log_level_t::trace, std::wstring(prefix).append(m_signature), m_file, m_line);
}

} // namespace OSTREL_NAMESPACE
