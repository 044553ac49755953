// What tests need of the system, on POSIX.
#include "support/system.h"

#include <csignal>
#include <cstdlib>
#include <unistd.h>

namespace test_support {

void set_variable(const std::string& name, const std::optional<std::string>& value) {
    if (value)
        ::setenv(name.c_str(), value->c_str(), 1);
    else
        ::unsetenv(name.c_str());
}

std::optional<std::string> get_variable(const std::string& name) {
    const char* const value = std::getenv(name.c_str());
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

local_app_data_t::local_app_data_t(const std::filesystem::path& folder)
    : m_former(get_variable("XDG_DATA_HOME")) {
    set_variable("XDG_DATA_HOME", folder.string());
}

local_app_data_t::~local_app_data_t() {
    set_variable("XDG_DATA_HOME", m_former);
}

unsigned process_id() {
    return static_cast<unsigned>(::getpid());
}

std::vector<std::string> utf8_arguments(int argc, char** argv) {
    return {argv + 1, argv + argc};
}

std::string inheritance() {
    std::string streams;
    int signals = 0, more = 0;
    sigset_t mask;
    ::sigprocmask(SIG_SETMASK, nullptr, &mask);
    for (int signal = 1; signal <= SIGRTMAX; ++signal) {
        struct sigaction action {};
        const bool is_ignored = ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
        signals += is_ignored || ::sigismember(&mask, signal) == 1 ? 1 : 0;
    }
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        std::error_code closed;
        const auto target =
            std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), closed);
        if (descriptor < 3)
            streams += target == "/dev/null" ? " null" : " host's";
        else
            more += closed ? 0 : 1;
    }
    return (::getsid(0) == ::getpid() ? "own session," : "host's session,") + streams + ", " +
           std::to_string(more) + " descriptors, " + std::to_string(signals) + " signals";
}

} // namespace test_support
