// A host in C++: the shared statistic object, a guard around an activity, the host's own configuration
// service, and the software manager.
#include "manager.h"
#include "ostrel/statistic.h"
#include "settor2/product_locations.h"

#include <exception>
#include <filesystem>
#include <iostream>
#include <string>

namespace ostrel = OSTREL_NAMESPACE;

namespace {

/// Tells the library the folders of this product. Installed from construction to destruction.
class locations_t final : public settor2::IProductLocations {
public:
    /// @param folder contains statistic/enabled_stat_events.xml
    explicit locations_t(const std::filesystem::path& folder)
        : m_folder(folder.wstring()), m_temp_dir(std::filesystem::temp_directory_path().wstring()) {
        install(this);
    }
    ~locations_t() override { install(nullptr); }
    locations_t(const locations_t&) = delete;
    locations_t& operator=(const locations_t&) = delete;

    void getVersion(int& major, int& minor, int& build) const override {
        major = 7;
        minor = 1;
        build = 312;
    }
    std::wstring getLocation(int kind) const override { return kind == 6 ? L"cpp_host" : std::wstring(); }
    const wchar_t* getFolder() const override { return m_folder.c_str(); }
    const wchar_t* getTempDir() const override { return m_temp_dir.c_str(); }
    bool isManagerExpected() const override { return false; }

private:
    std::wstring m_folder;
    std::wstring m_temp_dir;
};

/// Asks the user for consent if necessary. @return the state of the consent after that
ostrel::virk_state_t settle_consent(ostrel::statistic_t& statistic) {
    if (statistic.get_consent_state() == ostrel::vsUnknown) {
        std::cout << "The user must be asked. The user agrees.\n";
        statistic.set_statistic_collection_enabled(true);
    } else {
        std::cout << "The user is not asked: an answer is stored, or an environment variable decides.\n";
    }
    return statistic.get_consent_state();
}

void report(const boost::shared_ptr<ostrel::statistic_t>& statistic) {
    // Reports session.build.begin here and session.build.end on destruction.
    const ostrel::statistic_guard_t build(L"session.build", L".begin", L".end", statistic);
    // Every caller in the process gets the same object while a reference to it exists.
    ostrel::statistic_t::get()->notify_feature_usage(L"run.compiler");
    ostrel::statistic_t::get()->notify_feature_usage_ex(L"compiler.warnings", 17);
}

void summarise(ostrel::virk_state_t consent) {
    std::cout << "The object is destroyed: every hit was posted or dropped.\n";
    if (consent == ostrel::vsEnabled)
        std::cout << "Should have arrived, in this order:\n"
                     "  category \"session\", label \"build.begin\"\n"
                     "  category \"run\", label \"compiler\"\n"
                     "  category \"session\", label \"build.end\"\n"
                     "Withheld:\n"
                     "  compiler.warnings: the filter does not list it\n";
    else
        std::cout
            << "Nothing should have arrived.\n"
               "Withheld:\n"
               "  session.build.begin, run.compiler, compiler.warnings, session.build.end: the user has "
               "refused, or an environment variable forbids it\n";
}

ostrel::virk_state_t work() {
    const boost::shared_ptr<ostrel::statistic_t> statistic = ostrel::statistic_t::get();
    const ostrel::virk_state_t consent = settle_consent(*statistic);
    report(statistic);
    return consent;
}

} // namespace

int main(int /*count*/, char** arguments) {
    try {
        const locations_t locations(std::filesystem::absolute(arguments[0]).parent_path());
        talk_to_the_manager();
        summarise(work());
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "cpp_host: " << error.what() << "\n";
        return 1;
    }
}
