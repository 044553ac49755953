// The watched command, on Windows.
#include "child.h"

#include "platform/windows/handle.h"
#include "printable.h"
#include "quote.h"
#include "terminal.h"
#include "text/utf.h"

#include <windows.h>

#include <memory>
#include <optional>

namespace ostrelctl {

namespace {

using ostrel_platform::handle_t;
using ostrel_platform::to_utf8;
using ostrel_platform::to_wide;

/// Why the command was not started.
struct fault_t {
    int status;
    std::string reason;
};

fault_t fault_of(DWORD error) {
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND)
        return {command_not_found, "command not found"};
    return {command_not_started, "system error " + std::to_string(error)};
}

std::optional<std::wstring> find_program(const std::wstring& name) {
    std::wstring path(32768, L'\0');
    const DWORD size =
        ::SearchPathW(nullptr, name.c_str(), L".exe", static_cast<DWORD>(path.size()), path.data(), nullptr);
    if (size == 0 || size >= path.size())
        return std::nullopt;
    path.resize(size);
    return path;
}

std::wstring join_quoted(const std::vector<std::string>& words) {
    std::wstring line;
    for (const std::string& word : words)
        line += (line.empty() ? L"" : L" ") + quoted_for_runtime(to_wide(word));
    return line;
}

handle_t inheritable(DWORD stream) {
    HANDLE copy = nullptr;
    const HANDLE own = ::GetCurrentProcess();
    if (!::DuplicateHandle(own, ::GetStdHandle(stream), own, &copy, 0, TRUE, DUPLICATE_SAME_ACCESS))
        copy = nullptr;
    return handle_t(copy);
}

/// The command's standard streams. The command inherits only the handles of these streams.
class streams_t {
public:
    streams_t() : m_input(inheritable(STD_INPUT_HANDLE)), m_error(inheritable(STD_ERROR_HANDLE)) {
        for (const handle_t* const stream : {&m_input, &m_error})
            if (stream->is_open())
                m_inherited.push_back(stream->get());
        SIZE_T size = 0;
        ::InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        m_memory = std::make_unique<char[]>(size); // NOLINT(cppcoreguidelines-avoid-c-arrays): dynamic size
        m_info.lpAttributeList = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(m_memory.get());
        ::InitializeProcThreadAttributeList(m_info.lpAttributeList, 1, 0, &size);
        ::UpdateProcThreadAttribute(m_info.lpAttributeList, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST,
                                    m_inherited.data(), m_inherited.size() * sizeof(HANDLE), nullptr,
                                    nullptr);
        m_info.StartupInfo.cb = sizeof m_info;
        m_info.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
        m_info.StartupInfo.hStdInput = m_input.get();
        m_info.StartupInfo.hStdOutput = m_error.get();
        m_info.StartupInfo.hStdError = m_error.get();
    }
    ~streams_t() { ::DeleteProcThreadAttributeList(m_info.lpAttributeList); }
    streams_t(const streams_t&) = delete;
    streams_t& operator=(const streams_t&) = delete;

    STARTUPINFOW* info() { return &m_info.StartupInfo; }
    bool has_any() const { return !m_inherited.empty(); }

private:
    handle_t m_input;
    handle_t m_error;
    std::vector<HANDLE> m_inherited;
    std::unique_ptr<char[]> m_memory; // NOLINT(cppcoreguidelines-avoid-c-arrays)
    STARTUPINFOEXW m_info{};
};

std::optional<fault_t> start(const command_line_t& command, handle_t& process) {
    const auto program = find_program(to_wide(command.words[0]));
    if (!program)
        return fault_of(ERROR_FILE_NOT_FOUND);
    if (is_batch_file(*program) && !are_safe_for_batch(command.words))
        return fault_t{
            command_not_started,
            "the arguments of a batch file may only contain letters, digits, spaces and -_.:/\\@+, because "
            "other characters could make the command processor run a command"};
    // The command inherits the environment. The tool starts no other process, so it may change its own.
    for (const auto& [name, value] : command.variables)
        ::SetEnvironmentVariableW(to_wide(name).c_str(), to_wide(value).c_str());
    std::wstring line = join_quoted(command.words);
    streams_t streams;
    PROCESS_INFORMATION started{};
    if (!::CreateProcessW(program->c_str(), line.data(), nullptr, nullptr, streams.has_any() ? TRUE : FALSE,
                          EXTENDED_STARTUPINFO_PRESENT, nullptr, nullptr, streams.info(), &started))
        return fault_of(::GetLastError());
    ::CloseHandle(started.hThread);
    process = handle_t(started.hProcess);
    return std::nullopt;
}

// Ignored here: the console sends the event to the command too, and the command decides.
BOOL WINAPI leave_it_to_the_command(DWORD event) {
    return event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT ? TRUE : FALSE;
}

} // namespace

void leave_interrupts_to_command() {
    ::SetConsoleCtrlHandler(&leave_it_to_the_command, TRUE);
}

void keep_private(std::intptr_t socket) {
    ::SetHandleInformation(reinterpret_cast<HANDLE>(socket), HANDLE_FLAG_INHERIT, 0);
}

int run(const command_line_t& command) {
    handle_t process(nullptr);
    if (const auto fault = start(command, process)) {
        complain(printable(command.words[0]) + ": " + fault->reason);
        return fault->status;
    }
    ::WaitForSingleObject(process.get(), INFINITE);
    DWORD status = 0;
    ::GetExitCodeProcess(process.get(), &status);
    return static_cast<int>(status);
}

} // namespace ostrelctl
