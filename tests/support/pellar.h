// The software manager's stand-in, installed for a test, and the host's service that knows of it.
#pragma once

#include "ostrel/pellar_accessor.h"
#include "settor2/product_locations.h"
#include "support/log_capture.h"
#include "support/profile.h"

#include <gtest/gtest.h>

namespace test_support {

class locations_t : public settor2::IProductLocations {
public:
    void getVersion(int& /*major*/, int& /*minor*/, int& /*build*/) const override {}
    std::wstring getLocation(int /*kind*/) const override { return {}; }
    const wchar_t* getFolder() const override { return L""; }
    const wchar_t* getTempDir() const override { return temp_dir.c_str(); }
    bool isManagerExpected() const override { return manager_expected; }

    std::wstring temp_dir;
    bool manager_expected = false;
};

/// The texts behind their level ("E ", "I " or "T "); of error lines the suffix is checked and cut off.
std::vector<std::string> plain(const std::vector<log_line_t>& lines);

/// Gives each test a profile with the three stand-ins in PELLAR_DIR, whose name holds a blank and a non-ASCII
/// letter, no tool in the standard folder, and a service with an empty folder for exchange files.
class pellar_test_t : public testing::Test {
protected:
    pellar_test_t();
    ~pellar_test_t() override;

    /// Puts a program, by default the stand-in, under the three names into @p folder.
    static void install(const std::filesystem::path& folder, const std::filesystem::path& program);
    std::filesystem::path tools() const { return profile.folder() / std::filesystem::u8path(u8"t \u00f6"); }
    std::filesystem::path standard_folder() const { return profile.folder() / "common"; }
    std::filesystem::path temp() const { return profile.folder() / "temp"; }

    /// From now on the system names no folder for common program files.
    static void lose_standard_folder();

    /// The stand-in's runs so far, "[argument][argument]" each.
    std::vector<std::string> runs() const;
    /// Blocks until so many runs are on record; a generous limit ends it.
    bool wait_for_runs(std::size_t count) const;
    /// What the stand-in writes when its action is "write".
    void answer(const std::string& bytes);
    /// The private entry to everything below the operations.
    int invoke(int tool, const std::vector<std::wstring>& arguments, bool sync);

    profile_t profile;
    locations_t locations;
    OSTREL_NAMESPACE::pellar_accessor_impl_t bridge;
    log_capture_t log{"ostrel.pellar_accessor", 20000};
};

} // namespace test_support
