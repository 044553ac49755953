// System functions for tests that the library's platform layer does not have.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace test_support {

/// Sets or removes an environment variable of this process. Name and value are UTF-8 encoded.
void set_variable(const std::string& name, const std::optional<std::string>& value);

/// Sets this process's folder for local application data until destruction. At most one object may exist.
struct local_app_data_t {
    explicit local_app_data_t(const std::filesystem::path& folder);
    ~local_app_data_t();
};

/// Makes @p folder the folder of child processes too, until destruction. Tests that use this class must not
/// run concurrently: on Windows the setting belongs to the user, not to the process.
struct children_app_data_t {
    explicit children_app_data_t(const std::filesystem::path& folder);
    ~children_app_data_t();
};

/// The number of threads of this process. Only on Windows.
std::size_t count_threads();

/// Runs a program until it exits. @param words its path and its arguments, UTF-8 encoded
/// @return the exit status; if a signal killed the program, 128 plus the signal's number
long long run_and_wait(const std::vector<std::string>& words);

} // namespace test_support
