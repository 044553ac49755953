// A user profile of the test's own: data folder, environment and corporate network.
#pragma once

#include "statistic_impl/network_check.h"
#include "support/system.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace test_support {

/// Removes itself with everything in it.
class temporary_folder_t {
public:
    temporary_folder_t();
    ~temporary_folder_t();
    temporary_folder_t(const temporary_folder_t&) = delete;
    temporary_folder_t& operator=(const temporary_folder_t&) = delete;

    const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

/// Starts with every variable of the library and of proxies unset, an empty data folder whose name has a
/// blank and a non-ASCII letter, and a resolver that knows no host. Puts everything back when it goes.
class profile_t {
public:
    profile_t();
    ~profile_t();
    profile_t(const profile_t&) = delete;
    profile_t& operator=(const profile_t&) = delete;

    /// Sets a variable for the profile's life; UTF-8.
    void set(const std::string& name, const std::string& value);
    void unset(const std::string& name);

    std::filesystem::path folder() const { return m_folder.path(); }
    std::filesystem::path local_app_data() const;
    std::filesystem::path company() const;
    std::filesystem::path virk() const;
    std::filesystem::path statistic_dir(const std::string& product = "product") const;

    /// What the resolver answers from now on.
    void answer_with(ostrel_platform::host_addresses_t answer);
    /// How often, and for which names, the resolver was asked.
    const std::vector<std::string>& resolved_names() const;

private:
    temporary_folder_t m_folder;
    std::map<std::string, std::optional<std::string>> m_former;
    std::optional<local_app_data_t> m_local_app_data;
};

/// Writes a file, with every missing folder.
void write_file(const std::filesystem::path& path, const std::string& content);
/// The path as the library takes it; std::filesystem's own conversion goes through the C locale.
std::wstring wide(const std::filesystem::path& path);
/// The file's bytes; nothing when there is no such file.
std::optional<std::string> read_file(const std::filesystem::path& path);

} // namespace test_support
