// What tests need of the system below the library's own platform seam.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace test_support {

/// Sets or removes an environment variable of this process; texts are UTF-8.
void set_variable(const std::string& name, const std::optional<std::string>& value);

std::optional<std::string> get_variable(const std::string& name);

/// Gives the process @p folder as the user's local application-data folder for as long as it lives.
class local_app_data_t {
public:
    explicit local_app_data_t(const std::filesystem::path& folder);
    ~local_app_data_t();
    local_app_data_t(const local_app_data_t&) = delete;
    local_app_data_t& operator=(const local_app_data_t&) = delete;

private:
    std::optional<std::string> m_former; ///< what is put back, or taken away, at the end
};

unsigned process_id();

/// What main was given, without the program's own name; UTF-8.
std::vector<std::string> utf8_arguments(int argc, char** argv);

/// How this process was started: signals, session, streams, and how many descriptors it was given beside
/// them. Empty where a system knows no such ties between processes.
std::string inheritance();

} // namespace test_support
