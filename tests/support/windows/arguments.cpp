// A program's arguments in UTF-8, on Windows: main gets them in the ANSI page, the system has them whole.
#include "support/arguments.h"

#include "platform/utf.h"

#include <windows.h>

#include <shellapi.h>

namespace test_support {

std::vector<std::string> utf8_arguments(int /*argc*/, char** /*argv*/) {
    int count = 0;
    wchar_t** const wide = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i)
        arguments.push_back(ostrel_platform::to_utf8(wide[i]));
    ::LocalFree(wide);
    return arguments;
}

} // namespace test_support
