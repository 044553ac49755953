// The measured host: its folders, its event filter, its environment variables and the names that it reports.
#include "workspace.h"

#include <log4cplus/logger.h>

#include <cstdlib>
#include <fstream>

namespace bench {

workspace_t::workspace_t() {
    // Uses memory if possible, because the speed of a disk varies more than the measured values.
    const std::filesystem::path memory = "/dev/shm";
    const auto parent =
        std::filesystem::is_directory(memory) ? memory : std::filesystem::temp_directory_path();
    std::string name = (parent / "ostrel-bench-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr)
        std::abort();
    m_folder = name;
    std::filesystem::create_directories(m_folder / "statistic");
    ::setenv("XDG_DATA_HOME", name.c_str(), 1);
    ::setenv("NORVANE_FORCE_UUID", machine_id, 1);
    for (const char* const proxy : {"http_proxy", "https_proxy", "all_proxy", "ALL_PROXY"})
        ::unsetenv(proxy);
    collect(true);
    post_to(nowhere);
}

workspace_t::~workspace_t() {
    std::filesystem::remove_all(m_folder);
}

void workspace_t::set_filter(int names) const {
    std::ofstream file(m_folder / "statistic" / "enabled_stat_events.xml");
    const auto add = [&file](const std::string& name) {
        file << "<event><name>" << name << "</name></event>\n";
    };
    file << "<bag>\n";
    add(routed_name);
    if (names > 1)
        add(escaped_name);
    // Half of these names share their first segment with the reported names.
    for (int number = 2; number < names; ++number) {
        const std::string digits = std::to_string(10'000'000 + number * 7);
        add((number % 2 == 0 ? "editor.item." : "menu.action.") + digits);
    }
    file << "</bag>\n";
}

void silence(bool is_silent) {
    log4cplus::Logger::getInstance(LOG4CPLUS_TEXT("ostrel.statistic"))
        .setLogLevel(is_silent ? log4cplus::OFF_LOG_LEVEL : log4cplus::NOT_SET_LOG_LEVEL);
}

void collect(bool enabled) {
    ::unsetenv(enabled ? "NORVANE_DISABLE_FEEDBACK" : "NORVANE_FORCE_FEEDBACK");
    ::setenv(enabled ? "NORVANE_FORCE_FEEDBACK" : "NORVANE_DISABLE_FEEDBACK", "1", 1);
}

void post_to(const std::string& url) {
    ::setenv("OSTREL_COLLECTION_URL", url.c_str(), 1);
}

} // namespace bench
