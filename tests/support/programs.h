// Programs that a test runs, in the test's own profile.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace test_support {

/// Gives the folder to the children of this process too, until destruction. Tests that use it must not run
/// concurrently: on Windows the folder belongs to the user, not to the process.
class children_app_data_t {
public:
    explicit children_app_data_t(const std::filesystem::path& folder);
    ~children_app_data_t();
};

struct finished_t {
    long long status;           ///< exit status, or 128 and the number of the signal
    std::string output, errors; ///< the bytes written to standard output and to standard error
};

/// Runs a program and waits for its end. @param words its path and its arguments; UTF-8
finished_t run_program(const std::vector<std::string>& words);

} // namespace test_support
