// Installs the software manager's stand-in for a test.
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
constexpr const char* tool_names[] = {"norvaneremotemon.exe", "pellar.exe", "checkVIRKconsent.exe"};

/// Removes a file or folder as soon as no tool runs in it; Windows refuses before.
inline void remove_when_free(const fs::path& path) {
    std::error_code busy;
    wait_until([&] { return fs::remove_all(path, busy) != std::uintmax_t(-1); });
}

/// Gives each test a profile with the three stand-ins in PELLAR_DIR, whose name holds a blank and a non-ASCII
/// letter, and a service with an empty folder for exchange files.
struct pellar_test_t : testing::Test {
    pellar_test_t() {
        install_tools(tools());
        profile.set("PELLAR_DIR", tools().u8string());
        profile.set("STAND_IN_RECORD", (profile.folder() / "record").u8string());
        for (const char* const name : {"STAND_IN_ACTION", "STAND_IN_EXIT", "STAND_IN_UNTIL"})
            profile.unset(name);
        fs::create_directories(temp());
        locations.temp_dir = wide(temp());
        locations_t::install(&locations);
    }

    static void install_tools(const fs::path& folder) {
        fs::create_directories(folder);
        for (const char* const name : tool_names)
            fs::copy_file(fs::u8path(STAND_IN), folder / name);
    }
    fs::path tools() const { return profile.folder() / fs::u8path(u8"t \u00f6"); }
    fs::path temp() const { return profile.folder() / "temp"; }

    /// The stand-in's runs so far, "[argument][argument]" each.
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
    /// What the stand-in writes into the exchange file from now on.
    void answer(const std::string& bytes) {
        write_file(profile.folder() / "answer", bytes);
        profile.set("STAND_IN_ACTION", "write");
        profile.set("STAND_IN_ANSWER", (profile.folder() / "answer").u8string());
    }
    int invoke(int tool, const std::vector<std::wstring>& arguments, bool sync) {
        return OSTREL_NAMESPACE::run_tool(static_cast<accessor_t::pellar_tool_t>(tool), arguments, sync,
                                          &ostrel_platform::common_program_files_folder);
    }
    /// The logged texts. Errors begin with "E ", and "@" replaces their place in the code.
    texts_t logged() const {
        static const std::regex place(", at file: .+\\.cpp:\\d+$");
        texts_t result;
        for (const log_line_t& line : log.lines())
            result.push_back(line.level == 40000 ? "E " + std::regex_replace(line.text, place, "@")
                                                 : line.text);
        return result;
    }
    /// Forgets what was logged and run so far.
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
