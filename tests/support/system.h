// What tests need of the system below the library's own platform seam.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace test_support {

/// Sets or removes an environment variable of this process; texts are UTF-8.
void set_variable(const std::string& name, const std::optional<std::string>& value);

/// Gives the process @p folder as the user's local application-data folder for as long as it lives; one at a
/// time.
class local_app_data_t {
public:
    explicit local_app_data_t(const std::filesystem::path& folder);
    ~local_app_data_t();
};

/// How many threads this process has; on Windows only.
std::size_t count_threads();

/// What main was given, without the program's own name; UTF-8.
std::vector<std::string> utf8_arguments(int argc, char** argv);

} // namespace test_support
