// A host with its own log, to which the library writes too. The host tells the library the product's folders.
#include "ostrel/statistic.h"
#include "settor2/product_locations.h"

#include <log4cplus/configurator.h>
#include <log4cplus/initializer.h>
#include <log4cplus/loggingmacros.h>

#include <exception>
#include <filesystem>
#include <iostream>
#include <string>

namespace ostrel = OSTREL_NAMESPACE;
namespace fs = std::filesystem;

namespace {

/// The product's configuration service, installed from construction to destruction.
class installation_t final : public settor2::IProductLocations {
public:
    /// @param folder contains statistic/enabled_stat_events.xml
    explicit installation_t(const fs::path& folder)
        : m_folder(folder.wstring()), m_temp_dir(fs::temp_directory_path().wstring()) {
        install(this);
    }
    ~installation_t() override { install(nullptr); }
    installation_t(const installation_t&) = delete;
    installation_t& operator=(const installation_t&) = delete;

    void getVersion(int& major, int& minor, int& build) const override {
        major = 3;
        minor = 0;
        build = 14;
    }
    std::wstring getLocation(int kind) const override { return kind == 6 ? L"logging_host" : std::wstring(); }
    const wchar_t* getFolder() const override { return m_folder.c_str(); }
    const wchar_t* getTempDir() const override { return m_temp_dir.c_str(); }
    bool isManagerExpected() const override { return false; }

private:
    std::wstring m_folder;
    std::wstring m_temp_dir;
};

void work(const log4cplus::Logger& log) {
    // The log is already configured, so it contains the library's decision whether to collect.
    const auto statistic = ostrel::statistic_t::get();
    if (statistic->get_consent_state() == ostrel::vsUnknown) {
        LOG4CPLUS_INFO(log, LOG4CPLUS_TEXT("the user must be asked, the user agrees"));
        statistic->set_statistic_collection_enabled(true);
    }
    statistic->notify_feature_usage(L"report.print");
    statistic->notify_feature_usage(L"import.text");
}

void run(const fs::path& folder) {
    log4cplus::PropertyConfigurator::doConfigure(
        LOG4CPLUS_STRING_TO_TSTRING((folder / "log4cplus.properties").string()));
    const log4cplus::Logger log = log4cplus::Logger::getInstance(LOG4CPLUS_TEXT("logging_host"));
    const installation_t installation(folder);
    work(log);
    LOG4CPLUS_INFO(log, LOG4CPLUS_TEXT("the object is destroyed: every hit was posted or dropped"));
    std::cout << "Should have arrived, if the user's answer is yes:\n"
                 "  category \"report\", label \"print\"\n"
                 "Withheld:\n"
                 "  import.text: the filter does not list it\n";
}

} // namespace

int main(int /*count*/, char** arguments) {
    try {
        // Destroyed after every statistic object, so that the last log lines of the objects are written.
        const log4cplus::Initializer logging;
        run(fs::absolute(arguments[0]).parent_path());
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "logging_host: " << error.what() << "\n";
        return 1;
    }
}
