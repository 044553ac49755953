// Child processes, and facts about this process, on Windows.
#include "platform/process.h"

#include "platform/windows/handle.h"

#include <process.h>

namespace ostrel_platform {

run_result_t run_process(const command_t& command) {
    std::wstring line = command.line; // CreateProcessW may write into it
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
    // _wspawnv adds no quotes. The arguments need them, the path of the program must not have them.
    return ::_wspawnv(_P_DETACH, command.elements.front().c_str(), arguments.data()) == 0;
}

std::uint32_t process_id() {
    return ::GetCurrentProcessId();
}

// When a process exits, the system ends all other threads before it detaches the libraries.
bool do_threads_run_at_exit() {
    return false;
}

bool is_remote_session() {
    // SM_REMOTESESSION is 0x1000. Do not confuse it with SM_SHUTTINGDOWN (0x2000).
    return ::GetSystemMetrics(SM_REMOTESESSION) != 0;
}

} // namespace ostrel_platform
