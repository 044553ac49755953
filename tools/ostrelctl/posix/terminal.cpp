// Operations of the system that the tool needs and the library does not have, on POSIX.
#include "terminal.h"

#include "platform/environment.h"
#include "platform/folders.h"
#include "toolkit/quillkit/strings.h"

#include <array>
#include <cstdio>
#include <iostream>
#include <sys/stat.h>
#include <unistd.h>

namespace ostrelctl {

std::vector<std::string> utf8_arguments(int count, char** arguments) {
    return {arguments + 1, arguments + count};
}

bool is_terminal() {
    return ::isatty(STDOUT_FILENO) == 1;
}

bool has_colours() {
    return is_terminal() && !ostrel_platform::is_variable_set(L"NO_COLOR") &&
           ostrel_platform::environment_variable(L"TERM") != L"dumb";
}

bool print(std::string_view text) {
    std::cout << text;
    return !std::cout.flush().fail();
}

void complain(std::string_view message) {
    std::cerr << "ostrelctl: " << message << std::endl;
}

std::string why_no_folder() {
    if (const auto variable = ostrel_platform::malformed_folder_variable())
        return quillkit::strings::utf16_to_utf8(*variable) + " is not UTF-8 encoded";
    return "neither XDG_DATA_HOME nor HOME holds an absolute path";
}

std::string mode_of(const std::wstring& path) {
    struct stat status {};
    if (::stat(quillkit::strings::utf16_to_utf8(path).c_str(), &status) != 0)
        return {};
    std::array<char, 8> digits{};
    std::snprintf(digits.data(), digits.size(), "%04o", status.st_mode & 07777U);
    return digits.data();
}

} // namespace ostrelctl
