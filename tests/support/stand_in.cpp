// Stands in for the software manager's tools: records its arguments, then does what the environment says.
#include "support/system.h"

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <thread>

namespace fs = std::filesystem;

namespace {

/// Concurrent runs take turns: on Windows two processes that append concurrently overwrite each other.
void record(const fs::path& file, const std::string& line) {
    const fs::path turn = file.parent_path() / "turn";
    std::error_code taken;
    while (!fs::create_directory(turn, taken) && fs::exists(file.parent_path()))
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    std::ofstream(file, std::ios::app | std::ios::binary) << line + "\n";
    fs::remove(turn, taken);
}

/// Whose session, which descriptors, and the signals that are blocked or ignored, as Linux tells it.
std::string inheritance() {
    std::string process, other, session, result;
    std::ifstream("/proc/self/stat") >> process >> other >> other >> other >> other >> session;
    result = session == process ? "own session" : "host's session";
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        std::error_code closed;
        const fs::path target = fs::read_symlink("/proc/self/fd/" + std::to_string(descriptor), closed);
        result += closed ? "" : " " + target.string();
    }
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind("SigBlk:", 0) == 0 || line.rfind("SigIgn:", 0) == 0)
            result += " " + line.substr(line.size() - 7); // above, the C library keeps some to itself
    return result;
}

} // namespace

int main(int argc, char** argv) {
    const auto variable = [](const char* name) {
        const char* const value = std::getenv(name);
        return std::string(value == nullptr ? "" : value);
    };
    const auto arguments = test_support::utf8_arguments(argc, argv);
    const std::string action = variable("STAND_IN_ACTION");
    std::string line = action == "probe" ? inheritance() : "";
    for (const std::string& argument : arguments)
        line += "[" + argument + "]";
    record(fs::u8path(variable("STAND_IN_RECORD")), line);
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
