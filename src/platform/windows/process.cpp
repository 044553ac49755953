// Child processes, and what the system tells of this one, on Windows.
#include "platform/process.h"

#include "platform/windows/handle.h"

#include <process.h>

namespace ostrel_platform {

run_result_t run_process(const command_t& command) {
    std::wstring line = command.line; // the system writes into it
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESHOWWINDOW;
    startup.wShowWindow = SW_HIDE;
    PROCESS_INFORMATION information{};
    if (!::CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, CREATE_NEW_CONSOLE, nullptr, nullptr,
                          &startup, &information))
        return {false, ::GetLastError()};
    const handle_t process(information.hProcess);
    const handle_t thread(information.hThread);
    ::WaitForSingleObject(process.get(), INFINITE);
    DWORD code = 0;
    ::GetExitCodeProcess(process.get(), &code);
    return {true, code};
}

bool start_detached(const command_t& command) {
    std::vector<const wchar_t*> arguments;
    for (const std::wstring& element : command.quoted)
        arguments.push_back(element.c_str());
    arguments.push_back(nullptr);
    // The runtime quotes nothing by itself: the program is named bare, its arguments as they are to arrive.
    return ::_wspawnv(_P_DETACH, command.elements.front().c_str(), arguments.data()) == 0;
}

std::uint32_t process_id() {
    return ::GetCurrentProcessId();
}

// The system ends all other threads before it detaches the libraries of an exiting process.
bool do_threads_run_at_exit() {
    return false;
}

bool is_remote_session() {
    // The constant is 0x1000. The value 0x2000 means another thing: that the session is shutting down.
    return ::GetSystemMetrics(SM_REMOTESESSION) != 0;
}

} // namespace ostrel_platform
