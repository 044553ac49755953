// Features of Windows alone: proxy settings, registry, shared files, command lines and sessions.
#include "http_connector/proxy_discovery.h"
#include "ostrel/datetime.h"
#include "ostrel/ostrel.h"
#include "pellar_accessor/quote.h"
#include "platform/files.h"
#include "platform/folders.h"
#include "platform/network.h"
#include "platform/os_name.h"
#include "support/profile.h"

#include <winsock2.h>

#include <shlobj.h>
#include <winhttp.h>

using namespace test_support;
using namespace testing;
using namespace OSTREL_NAMESPACE;
using ostrel_platform::to_utf8;

// This program calls the system through these pointers.
extern "C" void *__imp_CreateProcessW, *__imp_GetSystemMetrics, *__imp_SHGetFolderPathW, *__imp_WSAStartup,
    *__imp_WinHttpGetDefaultProxyConfiguration, *__imp_WinHttpGetIEProxyConfigForCurrentUser,
    *__imp_WinHttpGetProxyForUrl, *__imp_WinHttpOpen, *__imp__wsopen_s;

namespace {

texts_t asked; ///< arguments of all calls since the last redirection

/// Replaces an imported function of this program until destruction.
class redirect_t {
public:
    template <class Function>
    redirect_t(void*& slot, Function* replacement) : m_slot(slot), m_former(slot) {
        DWORD protection = 0;
        ::VirtualProtect(&m_slot, sizeof m_slot, PAGE_READWRITE, &protection);
        m_slot = reinterpret_cast<void*>(replacement);
        asked.clear();
    }
    ~redirect_t() { m_slot = m_former; }

private:
    void*& m_slot;
    void* m_former;
};

std::string as_text(std::uint64_t number) {
    return std::to_string(number);
}
std::string as_text(const void* pointer) {
    return pointer == nullptr ? "null" : "set";
}
std::string as_text(const wchar_t* text) {
    return text == nullptr ? "null" : "'" + to_utf8(text) + "'";
}
std::string as_text(const STARTUPINFOW* startup) {
    return as_text(startup->cb) + " " + as_text(startup->dwFlags) + " " + as_text(startup->wShowWindow);
}

/// A function with the parameters of a system function, which records its arguments and fails.
template <int... Failure, class Result, class... Arguments>
auto* failing(Result (*)(Arguments...)) {
    return +[](Arguments... arguments) -> Result {
        (asked.push_back(as_text(arguments)), ...);
        ::SetLastError(1234);
        return {Failure...};
    };
}

struct proxy_settings_t {
    const wchar_t *browser, *discovered, *machine;
    DWORD discovery, machine_type;
    std::optional<std::string> variable;
    texts_t expected;
} settings;

/// A text as WinHTTP returns it: the caller frees it.
wchar_t* allocate(const wchar_t* text) {
    return text ? std::wcscpy(static_cast<wchar_t*>(::GlobalAlloc(GMEM_FIXED, 100)), text) : nullptr;
}

BOOL WINAPI find_browser_proxy(WINHTTP_CURRENT_USER_IE_PROXY_CONFIG* config) {
    *config = {TRUE, allocate(L"http://script"), allocate(settings.browser), allocate(L"bypass")};
    return TRUE;
}

BOOL WINAPI discover_proxy(HINTERNET /*session*/, LPCWSTR url, WINHTTP_AUTOPROXY_OPTIONS* options,
                           WINHTTP_PROXY_INFO* info) {
    asked = {to_utf8(url), as_text(options->dwFlags), as_text(options->dwAutoDetectFlags),
             as_text(options->fAutoLogonIfChallenged)};
    *info = {settings.discovery, allocate(settings.discovered), nullptr};
    return settings.discovery != 0;
}

BOOL WINAPI find_machine_proxy(WINHTTP_PROXY_INFO* info) {
    *info = {settings.machine_type, allocate(settings.machine), allocate(L"bypass")};
    return TRUE;
}

struct windows : Test {
    profile_t profile;
};

} // namespace

TEST_F(windows, system_calls_get_documented_arguments_and_report_failures) {
    const redirect_t processes(__imp_CreateProcessW, failing<0>(&::CreateProcessW));
    EXPECT_THAT(ostrel_platform::run_process(compose_command(L"C:\\tool.exe", {})), FieldsAre(false, 1234U));
    EXPECT_THAT(asked, ElementsAre("null", "'\"C:\\tool.exe\"'", "null", "null", "0", "16", "null", "null",
                                   "104 1 0", "set")); // CREATE_NEW_CONSOLE (16), SW_HIDE (0)

    const redirect_t sockets(__imp_WSAStartup, failing<WSASYSNOTREADY>(&::WSAStartup));
    EXPECT_EQ(ostrel_platform::resolve_host("127.0.0.1").outcome, ostrel_platform::resolution_t::failed);
    EXPECT_THAT(asked, ElementsAre("257", "set")); // version 1.1

    const redirect_t sessions(__imp_WinHttpOpen, failing(&::WinHttpOpen));
    ostrel_platform::system_proxies("http://c/");
    EXPECT_THAT(asked, ElementsAre("''", "0", "null", "null", "0"));

    const redirect_t locks(__imp__wsopen_s, failing<EEXIST>(&::_wsopen_s));
    EXPECT_FALSE(ostrel_platform::create_exclusively(L"lock"));
    EXPECT_THAT(asked, ElementsAre("set", "'lock'", std::to_string(0x580), "16", std::to_string(0x180)));

    const redirect_t metrics(__imp_GetSystemMetrics, failing<1>(&::GetSystemMetrics));
    EXPECT_TRUE(ostrel_platform::is_remote_session());
    EXPECT_THAT(asked, ElementsAre(std::to_string(0x1000)));
}

TEST_F(windows, proxy_order_is_browser_discovery_machine_variable) {
    const redirect_t browser(__imp_WinHttpGetIEProxyConfigForCurrentUser, &find_browser_proxy);
    const redirect_t discovery(__imp_WinHttpGetProxyForUrl, &discover_proxy);
    const redirect_t machine(__imp_WinHttpGetDefaultProxyConfiguration, &find_machine_proxy);
    const proxy_settings_t rows[] = {
        {nullptr, nullptr, nullptr, 0, 1, {}, {}},
        {nullptr, nullptr, nullptr, 0, 1, "e:4", {"variable e:4"}},
        {nullptr, nullptr, nullptr, 0, 1, "", {"variable "}},
        {L"http=h:1;https=s:2", nullptr, nullptr, 0, 1, "e:4", {"browser http=h:1;https=s:2"}},
        {nullptr, nullptr, L"m:3", 0, 3, "e:4", {"machine m:3"}},
        {L"b:1", L"w:2", L"b:1", 3, 3, "e:4", {"browser b:1", "discovery w:2", "machine b:1"}},
        {nullptr, L"w:2", L"m:3", 1, 1, {}, {}},
        {nullptr, nullptr, nullptr, 3, 1, "e:4", {"variable e:4"}},
    };
    const std::string sources[] = {"browser ", "discovery ", "machine ", "variable "};
    for (const proxy_settings_t& row : rows) {
        SCOPED_TRACE(&row - rows);
        settings = row;
        profile.set("http_proxy", row.variable);
        texts_t candidates;
        for (const found_proxy_t& found : discover_proxies("http://c/\u00e9"))
            candidates.push_back(sources[static_cast<std::size_t>(found.source)] + found.text);
        EXPECT_EQ(candidates, row.expected);
        EXPECT_THAT(asked, ElementsAre("http://c/\u00e9", "1", "3", "1"));
    }
}

TEST_F(windows, the_product_name_is_text_of_at_most_255_characters_or_nullopt) {
    HKEY machine = nullptr; // replaces HKEY_LOCAL_MACHINE in this process only
    ::RegCreateKeyW(HKEY_CURRENT_USER, L"machine", &machine);
    ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, machine);
    EXPECT_EQ(ostrel_platform::os_product_name(), std::nullopt);
    const std::wstring end(1, L'\0'), name = L"Windows \u00e9", longest(255, L'x');
    const std::tuple<DWORD, std::wstring, std::optional<std::wstring>> cases[] = {
        {REG_SZ, name + end, name},       {REG_SZ, name, name},
        {REG_SZ, longest + end, longest}, {REG_SZ, longest + L"x" + end, std::nullopt},
        {REG_DWORD, L"77", std::nullopt}, {REG_EXPAND_SZ, name + end, std::nullopt},
    };
    for (const auto& [type, stored, expected] : cases) {
        SCOPED_TRACE(std::to_string(type) + ", " + to_utf8(stored));
        ::RegSetKeyValueW(machine, L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion", L"ProductName", type,
                          (stored + L"!").data(), static_cast<DWORD>(stored.size() * sizeof(wchar_t)));
        EXPECT_EQ(ostrel_platform::os_product_name(), expected);
    }
    ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    ::RegCloseKey(machine);
}

TEST_F(windows, a_file_in_use_has_no_file_time_and_only_answers_overwrite_it) {
    const fs::path file = profile.folder() / fs::u8path(u8"\u4e2d");
    const auto has_time = [](const fs::path& path) { return datetime_t::file_time(wide(path)).is_valid(); };
    std::ofstream writer(file);
    EXPECT_FALSE(has_time(file));
    writer.close();
    EXPECT_TRUE(has_time(file));
    EXPECT_FALSE(has_time(profile.folder()));

    statistic_handle_t* const handle = ostrel_create_statistic("product", "1");
    write_file(profile.virk(), "");
    std::fstream other(profile.virk());
    ostrel_set_statistic_collection_enabled(handle, 1);
    EXPECT_EQ(ostrel_should_ask_user_consent(handle), 0);
    other.close();
    const HANDLE alone =
        ::CreateFileW(profile.virk().c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_EQ(ostrel_should_ask_user_consent(handle), 1);
    ostrel_set_statistic_collection_enabled(handle, 0);
    ::CloseHandle(alone);
    EXPECT_EQ(read_file(profile.virk()), "1");
    ostrel_destroy_statistic(handle);

    write_file(file, "old");
    std::ifstream reader(file);
    EXPECT_FALSE(ostrel_platform::replace_file(wide(file), "new"));
    reader.close();
    EXPECT_EQ(read_file(file), "old");
    EXPECT_FALSE(fs::exists(fs::path(file) += ".tmp"));
}

TEST_F(windows, command_lines_arrive_in_quotes_with_nothing_escaped) {
    std::wstring program(MAX_PATH, L'\0');
    program.resize(::GetModuleFileNameW(nullptr, program.data(), MAX_PATH));
    const fs::path out = profile.folder() / "line";
    profile.set("OSTREL_TEST_PRINT_LINE_TO", out.u8string());
    const auto command = compose_command(program, {L"", L"a b", L"c\"d", L"e\\", L"\u00e9\u4e2d %PATH% ^&"});
    const std::string expected =
        "\"" + to_utf8(program) + "\" \"\" \"a b\" \"c\"d\" \"e\\\" \"\u00e9\u4e2d %PATH% ^&\"\n";
    // 259 (STILL_ACTIVE) is returned although the process has ended.
    EXPECT_THAT(ostrel_platform::run_process(command), FieldsAre(true, 259U));
    EXPECT_EQ(read_file(out), expected);
    fs::remove(out);
    EXPECT_TRUE(ostrel_platform::start_detached(command));
    wait_until([&] { return read_file(out) == expected; });
    EXPECT_EQ(read_file(out), expected);
}

TEST_F(windows, if_the_system_names_no_folder_nothing_is_stored) {
    EXPECT_THAT(ostrel_platform::common_program_files_folder(), Optional(HasSubstr(L"(x86)")));
    const redirect_t redirect(__imp_SHGetFolderPathW, failing<E_FAIL>(&::SHGetFolderPathW));
    EXPECT_EQ(ostrel_platform::common_program_files_folder(), std::nullopt);
    EXPECT_THAT(asked, ElementsAre(_, "44", _, _, _, _, "43", _, _, _)); // 44: 32-bit, 43: 64-bit
    statistic_handle_t* const handle = ostrel_create_statistic("product", "1");
    ostrel_set_statistic_collection_enabled(handle, 1);
    EXPECT_EQ(ostrel_should_ask_user_consent(handle), 1);
    ostrel_notify_feature_usage(handle, "run.a");
    ostrel_destroy_statistic(handle);
    EXPECT_TRUE(fs::is_empty(profile.local_app_data()));
}

/// With the variable set, this program is the tool that prints its command line.
int main(int argc, char** argv) {
    if (const char* const out = std::getenv("OSTREL_TEST_PRINT_LINE_TO")) {
        std::ofstream(out, std::ios::binary) << to_utf8(::GetCommandLineW()) + "\n";
        return 259;
    }
    InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
