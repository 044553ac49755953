// What tests need of the system below the library's own platform layer.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace test_support {

/// Sets or removes an environment variable of this process; texts are UTF-8.
void set_variable(const std::string& name, const std::optional<std::string>& value);

/// Gives the process @p folder as the user's folder for local application data until destruction. One object
/// exists at a time.
class local_app_data_t {
public:
    explicit local_app_data_t(const std::filesystem::path& folder);
    ~local_app_data_t();
};

/// The number of threads of this process; on Windows only.
std::size_t count_threads();

/// The arguments of main without the program's name; UTF-8.
std::vector<std::string> utf8_arguments(int argc, char** argv);

} // namespace test_support
