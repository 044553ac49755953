// A host in C++: the shared statistic object, a guard around an activity, a configuration service of its own,
// and the software manager.
#include "manager.h"
#include "ostrel/statistic.h"
#include "settor2/product_locations.h"

#include <exception>
#include <filesystem>
#include <iostream>
#include <string>

namespace ostrel = OSTREL_NAMESPACE;

namespace {

/// Tells the library where this product lies. Installed while it lives.
class locations_t final : public settor2::IProductLocations {
public:
    /// @param folder holds statistic/enabled_stat_events.xml
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

/// The state after the user was asked, if that was needed.
ostrel::virk_state_t settle_consent(ostrel::statistic_t& statistic) {
    if (statistic.get_consent_state() == ostrel::vsUnknown) {
        std::cout << "The user has to be asked, and agrees.\n";
        statistic.set_statistic_collection_enabled(true);
    } else {
        std::cout
            << "Nobody has to be asked: an answer is on file, or a switch of the environment decides.\n";
    }
    return statistic.get_consent_state();
}

void report(const boost::shared_ptr<ostrel::statistic_t>& statistic) {
    // Reports session.build.begin here, and session.build.end when it goes.
    const ostrel::statistic_guard_t build(L"session.build", L".begin", L".end", statistic);
    // The same object for every caller in the process, as long as one of them holds it.
    ostrel::statistic_t::get()->notify_feature_usage(L"run.compiler");
    ostrel::statistic_t::get()->notify_feature_usage_ex(L"compiler.warnings", 17);
}

void summarise(ostrel::virk_state_t consent) {
    std::cout << "The last owner let go, so whatever was sent has been sent.\n";
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
               "refused, or a switch of the environment forbids it\n";
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
