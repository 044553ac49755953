// Stands in for the software manager's tools: records its arguments, then does what the environment says.
#include "support/arguments.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

namespace fs = std::filesystem;

namespace {

std::string variable(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? std::string() : value;
}

// One write a run, so that runs at the same time do not mix.
void record(const std::vector<std::string>& arguments) {
    std::string line;
    for (const std::string& argument : arguments)
        line += "[" + argument + "]";
    std::ofstream(fs::u8path(variable("STAND_IN_RECORD")), std::ios::app | std::ios::binary) << line + "\n";
}

// Ends with the test's folder too, so that a failed test leaves no process behind.
void wait_for_file(const fs::path& path) {
    while (!fs::exists(path) && fs::exists(path.parent_path()))
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
}

} // namespace

int main(int argc, char** argv) {
    const auto arguments = test_support::utf8_arguments(argc, argv);
    record(arguments);
    const std::string action = variable("STAND_IN_ACTION");
    if (action == "wait")
        wait_for_file(fs::u8path(variable("STAND_IN_UNTIL")));
    if (action == "die")
        std::abort();
    if (action == "delete")
        fs::remove(fs::u8path(arguments.back()));
    if (action == "write")
        std::ofstream(fs::u8path(arguments.back()), std::ios::binary)
            << std::ifstream(fs::u8path(variable("STAND_IN_ANSWER")), std::ios::binary).rdbuf();
    const std::string code = variable("STAND_IN_EXIT");
    return code.empty() ? 0 : std::stoi(code);
}
