// The program that tests start. If STAND_IN_RECORD is set, it stands in for the software manager's tools.
// Otherwise it is the command of "ostrelctl watch".
#include "http_connector/http_connector.h"
#include "ostrel/ostrel.h"
#include "ostrelctl/terminal.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <thread>

namespace fs = std::filesystem;
using arguments_t = std::vector<std::string>;

namespace {

std::string variable(const std::string& name) {
    const char* const value = std::getenv(name.c_str());
    return value == nullptr ? "" : value;
}

/// Concurrent runs take turns: on Windows two processes that append concurrently overwrite each other.
void record(const fs::path& file, const std::string& line) {
    const fs::path turn = file.parent_path() / "turn";
    std::error_code taken;
    while (!fs::create_directory(turn, taken) && fs::exists(file.parent_path()))
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    std::ofstream(file, std::ios::app | std::ios::binary) << line + "\n";
    fs::remove(turn, taken);
}

/// The session, the open descriptors, and the blocked and the ignored signals, as Linux reports them.
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
            result += " " + line.substr(line.size() - 7); // signals 1 to 28; the C library uses some above
    return result;
}

/// Records the arguments, then does what the environment says.
void be_manager(const arguments_t& arguments) {
    const std::string action = variable("STAND_IN_ACTION");
    std::string line = action == "probe" ? inheritance() : "";
    for (const std::string& argument : arguments)
        line += "[" + argument + "]";
    record(fs::u8path(variable("STAND_IN_RECORD")), line);
    // The wait also stops if the test's folder is gone, so that a failed test leaves no process behind.
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
}

void post(const std::string& url, const std::string& body) {
    OSTREL_NAMESPACE::http_connector_t(url.c_str()).send(body);
}

/// Does what an argument ACTION=VALUE says, and prints any other argument.
void obey(const std::string& argument) {
    const std::string action = argument.substr(0, argument.find('='));
    const std::string value = argument.substr(argument.find('=') + 1);
    const std::string url = variable("OSTREL_COLLECTION_URL");
    if (action == "report") {
        statistic_handle_t* const handle = ostrel_create_statistic("watched", "1 & 2");
        ostrel_notify_feature_usage(handle, value.c_str());
        ostrel_destroy_statistic(handle);
    } else if (action == "post")
        post(url, value);
    else if (action == "post-long") // longer than an argument may be
        post(url, std::string(std::stoul(value), 'x'));
    else if (action == "post-elsewhere")
        post(url.substr(0, url.find('/', 8)) + "/collect", value);
    else if (action == "exit")
        std::exit(static_cast<int>(std::stoul(value)));
    else
        std::cout << (action == "show" ? variable(value) : "[" + argument + "]") << "\n";
}

} // namespace

/// Exits with the status STAND_IN_EXIT.
int main(int argc, char** argv) {
    const arguments_t arguments = ostrelctl::utf8_arguments(argc, argv);
    if (!variable("STAND_IN_RECORD").empty())
        be_manager(arguments);
    else
        for (const std::string& argument : arguments)
            obey(argument);
    const std::string code = variable("STAND_IN_EXIT");
    return code.empty() ? 0 : std::stoi(code);
}
