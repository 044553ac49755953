// A user profile of the test's own.
#include "support/profile.h"

#include "platform/utf.h"

#include <atomic>
#include <fstream>
#include <iterator>

namespace test_support {

namespace {

namespace fs = std::filesystem;

ostrel_platform::host_addresses_t resolver_answer;
std::vector<std::string> asked_names;

ostrel_platform::host_addresses_t answer_from_memory(const std::string& name) {
    asked_names.push_back(name);
    return resolver_answer;
}

} // namespace

temporary_folder_t::temporary_folder_t() {
    static std::atomic<int> count{0};
    m_path = fs::temp_directory_path() /
             ("ostrel-test-" + std::to_string(process_id()) + "-" + std::to_string(++count));
    fs::create_directories(m_path);
}

temporary_folder_t::~temporary_folder_t() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

profile_t::profile_t() {
    for (const char* const name :
         {"NORVANE_STATISTICS_DISABLE", "NORVANE_DONOTSEND_FEEDBACK", "NORVANE_DISABLE_FEEDBACK",
          "NORVANE_FORCE_FEEDBACK", "NORVANE_FORCE_UUID", "NORVANE_DISABLE_UPDATES_CHECK",
          "OSTREL_DISABLE_PELLAR", "PELLAR_DIR", "OSTREL_COLLECTION_URL", "OSTREL_CORPORATE_DOMAIN",
          "XRDP_SESSION", "http_proxy", "https_proxy", "all_proxy", "ALL_PROXY", "no_proxy", "NO_PROXY"})
        unset(name);
    fs::create_directories(local_app_data());
    m_local_app_data.emplace(local_app_data());
    asked_names.clear();
    answer_with({ostrel_platform::resolution_t::unknown_host, {}});
    OSTREL_NAMESPACE::replace_resolver(&answer_from_memory);
}

profile_t::~profile_t() {
    OSTREL_NAMESPACE::replace_resolver(nullptr);
    for (const auto& [name, value] : m_former)
        set_variable(name, value);
}

void profile_t::set(const std::string& name, const std::string& value) {
    m_former.emplace(name, get_variable(name));
    set_variable(name, value);
}

void profile_t::unset(const std::string& name) {
    m_former.emplace(name, get_variable(name));
    set_variable(name, std::nullopt);
}

fs::path profile_t::local_app_data() const {
    return m_folder.path() / fs::u8path(u8"data \u00e9");
}
fs::path profile_t::company() const {
    return local_app_data() / "Norvane Corporation";
}
fs::path profile_t::virk() const {
    return company() / "virk";
}
fs::path profile_t::statistic_dir(const std::string& product) const {
    return company() / fs::u8path(product) / "settings" / "statistic";
}

void profile_t::answer_with(ostrel_platform::host_addresses_t answer) {
    resolver_answer = std::move(answer);
}

const std::vector<std::string>& profile_t::resolved_names() const {
    return asked_names;
}

void write_file(const fs::path& path, const std::string& content) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

std::wstring wide(const fs::path& path) {
    return ostrel_platform::to_wide(path.u8string());
}

std::optional<std::string> read_file(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        return std::nullopt;
    return std::string(std::istreambuf_iterator<char>(file), {});
}

} // namespace test_support
