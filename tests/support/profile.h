// What most tests need: a separate user profile, the host's service, files and programs.
#pragma once

#include "settor2/product_locations.h"
#include "support/system.h"
#include "text/utf.h"

#include <chrono>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <map>
#include <random>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace test_support {

namespace fs = std::filesystem;
using texts_t = std::vector<std::string>;

inline texts_t operator+(texts_t left, const texts_t& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

/// Splits at white space.
inline texts_t words_of(const std::string& text) {
    std::istringstream words(text);
    return {std::istream_iterator<std::string>(words), {}};
}

/// Unsets all variables of the library, proxies and stand-in. Sets a domain outside the corporate network,
/// and an empty data folder with a space and a non-ASCII letter in its name. At most one object may exist.
class profile_t {
public:
    profile_t() {
        fs::create_directories(local_app_data());
        for (const std::string& name : words_of(
                 "NORVANE_STATISTICS_DISABLE NORVANE_DONOTSEND_FEEDBACK NORVANE_DISABLE_FEEDBACK PELLAR_DIR "
                 "NORVANE_FORCE_FEEDBACK NORVANE_FORCE_UUID NORVANE_DISABLE_UPDATES_CHECK XRDP_SESSION "
                 "OSTREL_DISABLE_PELLAR OSTREL_COLLECTION_URL STAND_IN_ACTION STAND_IN_EXIT STAND_IN_RECORD "
                 "STAND_IN_UNTIL http_proxy https_proxy all_proxy ALL_PROXY no_proxy NO_PROXY"))
            unset(name);
        set("OSTREL_CORPORATE_DOMAIN", "127.0.0.1"); // resolved without a name server
    }
    ~profile_t() {
        std::error_code ignored;
        fs::remove_all(m_folder, ignored);
    }

    static constexpr auto set = &set_variable;
    static void unset(const std::string& name) { set_variable(name, std::nullopt); }

    const fs::path& folder() const { return m_folder; }
    fs::path local_app_data() const { return folder() / fs::u8path(u8"data \u00e9"); }
    fs::path company() const { return local_app_data() / "Norvane Corporation"; }
    fs::path virk() const { return company() / "virk"; }
    fs::path statistic_dir(const std::string& product = "product") const {
        return company() / fs::u8path(product) / "settings" / "statistic";
    }

private:
    const fs::path m_folder =
        fs::temp_directory_path() / ("ostrel-test-" + std::to_string(std::random_device()()));
    local_app_data_t m_local_app_data{local_app_data()};
};

/// The host's service. The test installs it, and the destructor removes it.
struct locations_t : settor2::IProductLocations {
    ~locations_t() override { install(nullptr); }
    void getVersion(int& major, int& minor, int& build) const override {
        if (has_failed)
            throw std::runtime_error("no version");
        major = version;
        minor = 1;
        build = 312;
    }
    std::wstring getLocation(int kind) const override { return kind == 6 ? location : L"wrong kind"; }
    const wchar_t* getFolder() const override { return folder.c_str(); }
    const wchar_t* getTempDir() const override { return temp_dir.c_str(); }
    bool isManagerExpected() const override { return manager_expected; }

    int version = 7;
    bool has_failed = false;
    bool manager_expected = false;
    std::wstring location, folder, temp_dir;
};

struct finished_t {
    long long status;
    std::string output, errors; ///< the bytes written to standard output and to standard error
};

/// As run_and_wait, with captured output.
inline finished_t run_program(const texts_t& words) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const long long status = run_and_wait(words);
    return {status, testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

/// Blocks until a condition holds, at most a minute.
template <class Condition>
void wait_until(const Condition& holds) {
    for (int tries = 0; tries < 6000 && !holds(); ++tries)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
}

/// Writes a file, and creates its folders if they are missing.
inline void write_file(const fs::path& path, const std::string& content) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

/// The path as the library expects it. The conversion of std::filesystem depends on the C locale.
inline std::wstring wide(const fs::path& path) {
    return ostrel_platform::to_wide(path.u8string());
}

/// The bytes of a file. Empty if the file cannot be opened.
inline std::optional<std::string> read_file(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return file ? std::make_optional(std::string(std::istreambuf_iterator<char>(file), {})) : std::nullopt;
}

/// All files and folders below a folder, with the content of the files.
inline std::map<fs::path, std::string> contents(const fs::path& folder) {
    std::map<fs::path, std::string> found;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        found[entry.path()] = entry.is_regular_file() ? read_file(entry.path()).value_or("") : "";
    return found;
}

} // namespace test_support
