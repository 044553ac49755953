// Stands in for the software manager's tools: records its arguments, then does what the environment says.
#include "support/system.h"

#include <chrono>
#include <fstream>
#include <thread>

namespace fs = std::filesystem;

namespace {

/// Runs at the same time take turns: on Windows two processes that append at once overwrite each other.
void record(const std::string& line) {
    const fs::path file = fs::u8path(test_support::get_variable("STAND_IN_RECORD").value_or(""));
    const fs::path turn = file.parent_path() / "turn";
    std::error_code taken;
    while (!fs::create_directory(turn, taken) && fs::exists(file.parent_path()))
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    std::ofstream(file, std::ios::app | std::ios::binary) << line + "\n";
    fs::remove(turn, taken);
}

} // namespace

int main(int argc, char** argv) {
    const auto variable = [](const char* name) { return test_support::get_variable(name).value_or(""); };
    const auto arguments = test_support::utf8_arguments(argc, argv);
    const std::string action = variable("STAND_IN_ACTION");
    std::string line = action == "probe" ? test_support::inheritance() : "";
    for (const std::string& argument : arguments)
        line += "[" + argument + "]";
    record(line);
    // Ends with the test's folder too, so that a failed test leaves no process behind.
    const fs::path go = fs::u8path(variable("STAND_IN_UNTIL"));
    while (action == "wait" && !fs::exists(go) && fs::exists(go.parent_path()))
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
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
