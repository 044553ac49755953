// Programs that a test runs, in the test's own profile.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace test_support {

/// Gives the folder to the children of this process too, for as long as it lives. Such tests take turns: on
/// Windows the folder is one of the user, not of the process.
class children_app_data_t {
public:
    explicit children_app_data_t(const std::filesystem::path& folder);
    ~children_app_data_t();
};

/// What a program came to.
struct finished_t {
    long long status = -1; ///< exit status, or 128 and the number of the signal
    std::string output;    ///< what it wrote to standard output
    std::string errors;    ///< and to standard error
};

/// Runs a program to its end. @param words its path and its arguments; UTF-8
finished_t run_program(const std::vector<std::string>& words);

} // namespace test_support
