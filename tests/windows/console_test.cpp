// The tool in situations that exist on Windows only: consoles, exit codes of 32 bits and batch files.
#include "support/profile.h"

#include <windows.h>

#include <csignal>
#include <fcntl.h>
#include <io.h>
#include <iostream>
#include <process.h>

using namespace std::string_literals;
using namespace test_support;
using namespace testing;

namespace {

struct tool_on_windows : Test {
    /// Runs "ostrelctl status" on the console. @return the beginning of the console's first line, with the
    /// prefix "interpreted: " if the tool has made the console interpret escape sequences
    static std::string status_on_console() {
        const int former = ::_dup(1), console = ::_wopen(L"CONOUT$", _O_RDWR);
        const auto screen = reinterpret_cast<HANDLE>(::_get_osfhandle(console));
        std::wstring shown(70, L' ');
        DWORD count = 0, mode = 0;
        ::SetConsoleMode(screen, ENABLE_PROCESSED_OUTPUT | ENABLE_WRAP_AT_EOL_OUTPUT);
        ::SetConsoleCursorPosition(screen, {0, 0});
        ::_dup2(console, 1);
        ::_wspawnl(_P_WAIT, tool.c_str(), L"ostrelctl", L"status", L"--product", L"caf\u00e9", nullptr);
        ::_dup2(former, 1);
        ::ReadConsoleOutputCharacterW(screen, shown.data(), 70, {0, 0}, &count);
        ::GetConsoleMode(screen, &mode);
        ::_close(console);
        ::_close(former);
        return ((mode & ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0 ? "interpreted: " : "") +
               ostrel_platform::to_utf8(shown);
    }

    static inline const fs::path tool = fs::u8path(OSTRELCTL).make_preferred();
    const profile_t profile;
    const children_app_data_t shared{profile.local_app_data()};
};

} // namespace

TEST_F(tool_on_windows, output_is_unicode_and_is_coloured_only_on_a_console) {
    const std::string question = "Would usage of \"caf\u00e9\" be reported now?  ", plain = question + "no: ";
    // Wine's console accepts the mode, but prints the escape sequence as text.
    EXPECT_THAT(status_on_console(), StartsWith("interpreted: " + question + "\x1B[31mno: "));
    EXPECT_THAT(run_program({OSTRELCTL, "status", "--product", "caf\u00e9"}).output, StartsWith(plain));
    profile.set("NO_COLOR", "1");
    EXPECT_THAT(status_on_console(), StartsWith(plain));
}

TEST_F(tool_on_windows, an_interrupt_stops_the_command_first_and_then_the_tool) {
    ::SetConsoleCtrlHandler([](DWORD) -> BOOL { return TRUE; }, TRUE); // the event reaches this process too
    const finished_t shown = run_program({OSTRELCTL, "watch", "--", _pgmptr, "interrupt"});
    EXPECT_EQ(shown.status, 3);
    EXPECT_THAT(shown.errors, StartsWith("stopping\r\nostrelctl: 0 hits"));
}

TEST_F(tool_on_windows, the_exit_code_of_a_command_keeps_its_32_bits) {
    for (const char* const code : {"256", "3221225477"}) // the second one is that of an access violation
        EXPECT_EQ(run_program({OSTRELCTL, "watch", "--", STAND_IN, "exit="s + code}).status,
                  std::atoll(code));
}

TEST_F(tool_on_windows, special_characters_are_refused_for_batch_files) {
    const std::string batch = (profile.folder() / "run.cmd").u8string();
    write_file(batch, "@echo got %1\r\n@exit /b 5\r\n");
    const finished_t plain = run_program({OSTRELCTL, "watch", "--", batch, "a-b.c"});
    EXPECT_THAT(plain.errors, StartsWith("got a-b.c\r\n"));
    EXPECT_EQ(plain.status, 5);
    for (const char* const argument : {"a&b", "\"", "%PATH%", "a^b", "a|b", "<", ">", "(", "!"}) {
        SCOPED_TRACE(argument);
        const finished_t refused = run_program({OSTRELCTL, "watch", "--", batch, argument});
        EXPECT_EQ(refused.status, 126);
        EXPECT_THAT(refused.errors, Not(HasSubstr("got")));
    }
}

/// With the argument "interrupt", this program is a command that interrupts all programs of its console.
int main(int argc, char** argv) {
    if (argc > 1 && argv[1] == "interrupt"s) {
        std::signal(SIGINT, [](int) {
            ::Sleep(200);
            std::cerr << "stopping\n";
            std::_Exit(3);
        });
        ::GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
        ::Sleep(60000);
    }
    ::FreeConsole();
    ::AllocConsole(); // a separate console, without a window
    InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
