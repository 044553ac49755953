// Operations of the system that the tool needs and the library does not have, on Windows.
#include "terminal.h"

#include "platform/environment.h"
#include "text/utf.h"

#include <windows.h>

#include <shellapi.h>

#include <algorithm>

namespace ostrelctl {

namespace {

using ostrel_platform::to_utf8;
using ostrel_platform::to_wide;

constexpr std::size_t console_step = 8192; // UTF-16 units; one write of a longer text may fail

bool is_console(HANDLE stream) {
    DWORD mode = 0;
    return ::GetConsoleMode(stream, &mode) != 0;
}

// A console shows UTF-16 correctly with every code page.
bool write_to_console(HANDLE console, std::wstring_view text) {
    while (!text.empty()) {
        const auto step = static_cast<DWORD>(std::min(text.size(), console_step));
        DWORD written = 0;
        if (!::WriteConsoleW(console, text.data(), step, &written, nullptr) || written == 0)
            return false;
        text.remove_prefix(written);
    }
    return true;
}

bool write_to_file(HANDLE file, std::string_view bytes) {
    while (!bytes.empty()) {
        DWORD written = 0;
        if (!::WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) ||
            written == 0)
            return false;
        bytes.remove_prefix(written);
    }
    return true;
}

bool write(DWORD stream, std::string_view text) {
    const HANDLE handle = ::GetStdHandle(stream);
    return is_console(handle) ? write_to_console(handle, to_wide(text)) : write_to_file(handle, text);
}

} // namespace

std::vector<std::string> utf8_arguments(int /*count*/, char** /*arguments*/) {
    int count = 0;
    wchar_t** const all = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i)
        arguments.push_back(to_utf8(all[i]));
    ::LocalFree(all);
    return arguments;
}

bool is_terminal() {
    return is_console(::GetStdHandle(STD_OUTPUT_HANDLE));
}

bool has_colours() {
    if (ostrel_platform::is_variable_set(L"NO_COLOR"))
        return false;
    const HANDLE output = ::GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    return ::GetConsoleMode(output, &mode) != 0 &&
           ::SetConsoleMode(output, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

bool print(std::string_view text) {
    return write(STD_OUTPUT_HANDLE, text);
}

void complain(std::string_view message) {
    write(STD_ERROR_HANDLE, "ostrelctl: " + std::string(message) + "\n");
}

std::string why_no_folder() {
    return "the system names no folder for the data of this user";
}

// Windows has access control lists, not octal modes.
std::string mode_of(const std::wstring& /*path*/) {
    return {};
}

} // namespace ostrelctl
