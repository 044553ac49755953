// Installs a stand-in for each tool of the software manager.
#pragma once

#include "ostrel/pellar_accessor.h"
#include "pellar_accessor/run.h"
#include "platform/folders.h"
#include "platform/process.h"
#include "support/log_capture.h"
#include "support/profile.h"

#include <regex>

namespace test_support {

using accessor_t = OSTREL_NAMESPACE::pellar_accessor_impl_t;
constexpr int pellar = accessor_t::tool_pellar;

/// Removes a file or folder. On Windows, first waits until no program in it runs.
inline void remove_when_free(const fs::path& path) {
    std::error_code busy;
    wait_until([&] { return fs::remove_all(path, busy) != std::uintmax_t(-1); });
}

/// Gives each test a profile with the three stand-ins in PELLAR_DIR, whose name contains a space and a
/// non-ASCII letter, and a service with an empty folder for exchange files.
struct pellar_test_t : testing::Test {
    pellar_test_t() {
        install_tools(tools());
        profile.set("PELLAR_DIR", tools().u8string());
        profile.set("STAND_IN_RECORD", (profile.folder() / "record").u8string());
        fs::create_directories(temp());
        locations.temp_dir = wide(temp());
        locations_t::install(&locations);
    }

    static void install_tools(const fs::path& folder) {
        fs::create_directories(folder);
        for (const char* const name : {"norvaneremotemon.exe", "pellar.exe", "checkVIRKconsent.exe"})
            fs::copy_file(fs::u8path(STAND_IN), folder / name);
    }
    fs::path tools() const { return profile.folder() / fs::u8path(u8"t \u00f6"); }
    fs::path temp() const { return profile.folder() / "temp"; }

    /// One "[argument][argument]" for each run of a stand-in so far.
    texts_t runs() const {
        std::ifstream record(profile.folder() / "record", std::ios::binary);
        texts_t result;
        for (std::string line; std::getline(record, line);)
            result.push_back(line);
        return result;
    }
    texts_t wait_for_runs(std::size_t count) const {
        wait_until([&] { return runs().size() >= count; });
        return runs();
    }
    /// Makes the stand-in write the bytes into the exchange file.
    void answer(const std::string& bytes) {
        write_file(profile.folder() / "answer", bytes);
        profile.set("STAND_IN_ACTION", "write");
        profile.set("STAND_IN_ANSWER", (profile.folder() / "answer").u8string());
    }
    int invoke(int tool, const std::vector<std::wstring>& arguments, bool sync) {
        return OSTREL_NAMESPACE::run_tool(static_cast<accessor_t::pellar_tool_t>(tool), arguments, sync,
                                          &ostrel_platform::common_program_files_folder);
    }
    /// The logged texts. Errors begin with "E ", and "@" replaces file and line.
    texts_t logged() const {
        static const std::regex place(", at file: .+\\.cpp:\\d+$");
        texts_t result;
        for (const auto& [level, text] : log.lines())
            result.push_back(level == 40000 ? "E " + std::regex_replace(text, place, "@") : text);
        return result;
    }
    /// Discards the log and the record of the runs.
    void forget() {
        log.clear();
        remove_when_free(profile.folder() / "record");
    }

    profile_t profile;
    locations_t locations;
    accessor_t bridge;
    log_capture_t log{"ostrel.pellar_accessor", 20000};
};

} // namespace test_support
