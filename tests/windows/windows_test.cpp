// Features of Windows alone: proxy settings, registry, shared files, command lines and sessions.
#include "foundations/trace.h"
#include "http_connector/proxy_discovery.h"
#include "ostrel/datetime.h"
#include "ostrel/ostrel.h"
#include "ostrel/pellar_accessor.h"
#include "pellar_accessor/quote.h"
#include "platform/files.h"
#include "platform/folders.h"
#include "platform/network.h"
#include "platform/os_name.h"
#include "platform/proxies.h"
#include "support/log_capture.h"
#include "support/profile.h"
#include "text/utf.h"

#include <winsock2.h>

#include <shlobj.h>
#include <winhttp.h>

#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <thread>

using namespace test_support;
using namespace OSTREL_NAMESPACE;

// This program calls the system through these pointers.
extern "C" void *__imp_CreateProcessW, *__imp_GetSystemMetrics, *__imp_SHGetFolderPathW, *__imp_WSAStartup,
    *__imp_WinHttpGetIEProxyConfigForCurrentUser, *__imp_WinHttpGetProxyForUrl, *__imp_WinHttpOpen,
    *__imp__wsopen_s;

namespace {

/// Replaces an imported function of this program until destruction.
class redirect_t {
public:
    template <class Function>
    redirect_t(void*& slot, Function* replacement) : m_slot(slot), m_former(slot) {
        DWORD protection = 0;
        ::VirtualProtect(&m_slot, sizeof m_slot, PAGE_READWRITE, &protection);
        m_slot = reinterpret_cast<void*>(replacement);
    }
    ~redirect_t() { m_slot = m_former; }

private:
    void*& m_slot;
    void* m_former;
};

void store(HKEY root, const wchar_t* path, const wchar_t* name, DWORD type, const std::string& bytes) {
    HKEY key = nullptr;
    ASSERT_EQ(::RegCreateKeyExW(root, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr), 0);
    ::RegSetValueExW(key, name, 0, type, reinterpret_cast<const BYTE*>(bytes.data()),
                     static_cast<DWORD>(bytes.size()));
    ::RegCloseKey(key);
}

std::string utf16_bytes(const std::wstring& text) {
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)};
}

/// 32 bits, the lowest byte first, or the length of a text and then the text.
std::string field(std::uint32_t number) {
    return {reinterpret_cast<const char*>(&number), sizeof number};
}
std::string field(const std::string& text) {
    return field(static_cast<std::uint32_t>(text.size())) + text;
}

/// A profile with a registry of the machine. The user's registry belongs to every profile.
class windows : public testing::Test {
protected:
    windows() {
        HKEY machine = nullptr;
        ::RegCreateKeyExW(HKEY_CURRENT_USER, L"machine", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &machine,
                          nullptr);
        ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, machine);
        ::RegCloseKey(machine);
    }
    ~windows() override { ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr); }

    static constexpr const wchar_t* connections =
        L"Software\\Microsoft\\Windows\\CurrentVersion\\Internet Settings\\Connections";

    static void set_browser_proxy(const std::string& proxy) {
        const std::uint32_t flags = proxy.empty() ? 1 : 3;
        store(HKEY_CURRENT_USER, connections, L"DefaultConnectionSettings", REG_BINARY,
              field(0x46) + field(1) + field(flags) + field(proxy) + field("bypass") +
                  field("http://script") + std::string(32, '\0'));
    }
    static void set_machine_proxy(std::uint32_t flags, const std::string& proxy) {
        store(HKEY_LOCAL_MACHINE, connections, L"WinHttpSettings", REG_BINARY,
              field(0x18) + field(0) + field(flags) + field(proxy) + field("bypass"));
    }

    profile_t profile;
};

WINHTTP_PROXY_INFO discovered{};
texts_t discovery_calls;

BOOL WINAPI discover(HINTERNET /*session*/, LPCWSTR url, WINHTTP_AUTOPROXY_OPTIONS* options,
                     WINHTTP_PROXY_INFO* info) {
    discovery_calls.push_back(ostrel_platform::to_utf8(url) + " " + std::to_string(options->dwFlags) + " " +
                              std::to_string(options->dwAutoDetectFlags) + " " +
                              std::to_string(options->fAutoLogonIfChallenged));
    *info = {discovered.dwAccessType, nullptr, nullptr};
    if (discovered.lpszProxy != nullptr)
        info->lpszProxy =
            std::wcscpy(static_cast<wchar_t*>(::GlobalAlloc(GMEM_FIXED, 100)), discovered.lpszProxy);
    return discovered.dwAccessType != 0;
}

int folders_that_fail = 0; ///< number of next calls that fail
std::vector<int> asked_folders;

HRESULT WINAPI find_folder(HWND /*owner*/, int folder, HANDLE /*token*/, DWORD /*flags*/, LPWSTR path) {
    asked_folders.push_back(folder);
    std::wcscpy(path, L"C:\\found");
    return --folders_that_fail >= 0 ? E_FAIL : S_OK;
}

int WINAPI metrics_of_a_remote_session(int index) {
    return index == 0x1000 ? 1 : 0;
}

/// Arguments of the last call in their order; a pointer counts as whether it is null.
std::vector<std::uint64_t> asked;
template <class... Arguments>
void record(Arguments... arguments) {
    asked = {static_cast<std::uint64_t>(arguments)...};
}

BOOL WINAPI record_process(LPCWSTR program, LPWSTR /*line*/, SECURITY_ATTRIBUTES* process,
                           SECURITY_ATTRIBUTES* thread, BOOL inherits, DWORD flags, void* environment,
                           LPCWSTR folder, STARTUPINFOW* startup, PROCESS_INFORMATION* /*information*/) {
    const bool are_null = !program && !process && !thread && !environment && !folder;
    record(are_null, inherits, flags, startup->cb, startup->dwFlags, startup->wShowWindow);
    ::SetLastError(1234);
    return FALSE;
}

int WSAAPI record_sockets(WORD version, WSADATA* /*data*/) {
    record(version);
    return WSASYSNOTREADY;
}

HINTERNET WINAPI record_session(LPCWSTR agent, DWORD access, LPCWSTR proxy, LPCWSTR bypass, DWORD flags) {
    record(std::wcslen(agent), access, proxy == nullptr, bypass == nullptr, flags);
    return nullptr;
}

BOOL WINAPI record_browser(WINHTTP_CURRENT_USER_IE_PROXY_CONFIG* /*config*/) {
    record(1);
    return FALSE;
}

errno_t __cdecl record_creation(int* descriptor, const wchar_t* /*path*/, int flags, int sharing, int mode) {
    record(flags, sharing, mode);
    *descriptor = -1;
    return EEXIST;
}

} // namespace

TEST_F(windows, system_calls_get_documented_arguments_and_report_failures) {
    using numbers_t = std::vector<std::uint64_t>;
    const redirect_t processes(__imp_CreateProcessW, &record_process);
    const auto result = ostrel_platform::run_process(compose_command(L"C:\\tool.exe", {}));
    EXPECT_EQ(asked, (numbers_t{1, FALSE, 0x10, 104, STARTF_USESHOWWINDOW, SW_HIDE}));
    EXPECT_EQ(std::pair(result.finished, result.code), std::pair(false, std::uint32_t{1234}));

    const redirect_t sockets(__imp_WSAStartup, &record_sockets);
    EXPECT_EQ(ostrel_platform::resolve_host("127.0.0.1").outcome, ostrel_platform::resolution_t::failed);
    EXPECT_EQ(asked, numbers_t{0x0101});

    const redirect_t sessions(__imp_WinHttpOpen, &record_session);
    ostrel_platform::system_proxies("http://c/");
    EXPECT_EQ(asked, (numbers_t{0, 0, 1, 1, 0}));

    const redirect_t locks(__imp__wsopen_s, &record_creation);
    EXPECT_FALSE(ostrel_platform::create_exclusively(L"lock"));
    EXPECT_EQ(asked, (numbers_t{0x580, 0x10, 0x180})); // 0x80 is _O_NOINHERIT
}

TEST_F(windows, an_object_that_does_not_collect_asks_nothing_of_the_network) {
    const redirect_t sockets(__imp_WSAStartup, &record_sockets);
    const redirect_t browsers(__imp_WinHttpGetIEProxyConfigForCurrentUser, &record_browser);
    const redirect_t sessions(__imp_WinHttpOpen, &record_session);
    const auto use = [] {
        asked.clear();
        statistic_handle_t* const handle = ostrel_create_statistic("product", "1");
        ostrel_notify_feature_usage(handle, "run.a");
        ostrel_destroy_statistic(handle); // waits for the sending thread
        return asked.size();
    };
    profile.set("NORVANE_DISABLE_FEEDBACK", "1");
    EXPECT_EQ(use(), 0U);
    profile.unset("NORVANE_DISABLE_FEEDBACK");
    profile.set("NORVANE_FORCE_FEEDBACK", "1");
    EXPECT_NE(use(), 0U);
}

TEST_F(windows, proxies_come_from_browser_discovery_machine_then_variable) {
    const redirect_t redirect(__imp_WinHttpGetProxyForUrl, &discover);
    const std::optional<std::string> none;
    wchar_t w2[] = L"w:2";
    const struct {
        std::string browser;
        WINHTTP_PROXY_INFO discovered;
        std::pair<std::uint32_t, std::string> machine;
        std::optional<std::string> variable;
        texts_t expected;
    } rows[] = {
        {"", {0, nullptr, nullptr}, {1, ""}, none, {}},
        {"", {0, nullptr, nullptr}, {1, ""}, "e:4", {"variable e:4"}},
        {"", {0, nullptr, nullptr}, {1, ""}, "", {"variable "}},
        {"http=h:1;https=s:2", {0, nullptr, nullptr}, {1, ""}, "e:4", {"browser http=h:1;https=s:2"}},
        {"", {0, nullptr, nullptr}, {3, "m:3"}, "e:4", {"machine m:3"}},
        {"b:1", {0, nullptr, nullptr}, {3, "m:3"}, none, {"browser b:1", "machine m:3"}},
        {"b:1", {3, w2, nullptr}, {3, "b:1"}, "e:4", {"browser b:1", "discovery w:2", "machine b:1"}},
        {"", {1, w2, nullptr}, {1, "m:3"}, none, {}},
        {"", {3, nullptr, nullptr}, {1, ""}, "e:4", {"variable e:4"}},
    };
    const std::string sources[] = {"browser ", "discovery ", "machine ", "variable "};
    for (const auto& row : rows) {
        SCOPED_TRACE("browser " + row.browser + ", machine " + row.machine.second);
        set_browser_proxy(row.browser);
        discovered = row.discovered;
        set_machine_proxy(row.machine.first, row.machine.second);
        profile.set("http_proxy", row.variable);
        discovery_calls.clear();
        texts_t candidates;
        for (const found_proxy_t& found : discover_proxies("http://c/\u00e9"))
            candidates.push_back(sources[static_cast<std::size_t>(found.source)] + found.text);
        EXPECT_EQ(candidates, row.expected);
        EXPECT_EQ(discovery_calls, texts_t{"http://c/\u00e9 1 3 1"});
    }
}

TEST_F(windows, the_product_name_is_a_text_of_at_most_255_characters_or_none) {
    constexpr const wchar_t* key = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion";
    EXPECT_EQ(ostrel_platform::os_product_name(), std::nullopt);
    const std::wstring name = L"Windows \u00e9";
    const std::wstring longest(255, L'x');
    const struct {
        DWORD type;
        std::string bytes;
        std::optional<std::wstring> expected;
    } rows[] = {
        {REG_SZ, utf16_bytes(name + L'\0'), name},
        {REG_SZ, utf16_bytes(name), name},
        {REG_SZ, utf16_bytes(longest + L'\0'), longest},
        {REG_SZ, utf16_bytes(longest + L"x" + L'\0'), std::nullopt},
        {REG_DWORD, field(7), std::nullopt},
        {REG_EXPAND_SZ, utf16_bytes(name + L'\0'), std::nullopt},
    };
    for (const auto& row : rows) {
        store(HKEY_LOCAL_MACHINE, key, L"ProductName", row.type, row.bytes);
        EXPECT_EQ(ostrel_platform::os_product_name(), row.expected) << row.type << ", " << row.bytes.size();
    }
}

TEST_F(windows, files_in_use_are_shared_but_neither_timed_nor_replaced) {
    const fs::path file = profile.folder() / "file";
    std::ofstream writer(file);
    EXPECT_FALSE(datetime_t::file_time(wide(file)).is_valid());
    writer.close();
    EXPECT_TRUE(datetime_t::file_time(wide(file)).is_valid());

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
    EXPECT_FALSE(fs::exists(profile.folder() / "file.tmp"));
    EXPECT_TRUE(ostrel_platform::replace_file(wide(file), "new"));
}

TEST_F(windows, command_lines_arrive_in_quotes_with_nothing_escaped) {
    std::wstring program(MAX_PATH, L'\0');
    program.resize(::GetModuleFileNameW(nullptr, program.data(), MAX_PATH));
    const fs::path out = profile.folder() / "line";
    profile.set("OSTREL_TEST_PRINT_LINE_TO", out.u8string());
    const auto command = compose_command(program, {L"", L"a b", L"c\"d", L"e\\", L"\u00e9\u4e2d %PATH% ^&"});
    const std::string expected = "\"" + ostrel_platform::to_utf8(program) +
                                 "\" \"\" \"a b\" \"c\"d\" \"e\\\" \"\u00e9\u4e2d %PATH% ^&\"\n";
    const auto result = ostrel_platform::run_process(command);
    EXPECT_TRUE(result.finished);
    EXPECT_EQ(result.code, 259U); // the code that stands for a running process
    EXPECT_EQ(read_file(out), expected);
    fs::remove(out);
    EXPECT_TRUE(ostrel_platform::start_detached(command));
    wait_until([&] { return read_file(out) == expected; });
    EXPECT_EQ(read_file(out), expected);
}

TEST_F(windows, in_a_remote_session_no_tool_is_looked_for) {
    pellar_accessor_impl_t bridge;
    const log_capture_t log("ostrel.pellar_accessor", 20000);
    {
        const redirect_t redirect(__imp_GetSystemMetrics, &metrics_of_a_remote_session);
        EXPECT_FALSE(bridge.send_usage_package());
        EXPECT_EQ(log.texts(), (texts_t{"tool=0", "sync=1"}));
    }
    bridge.send_usage_package();
    EXPECT_EQ(log.texts().at(4), "pellar location=");
}

TEST_F(windows, folders_that_the_system_does_not_name_are_done_without) {
    const redirect_t redirect(__imp_SHGetFolderPathW, &find_folder);
    for (const int failures : {0, 1, 2}) {
        SCOPED_TRACE(failures);
        folders_that_fail = failures;
        asked_folders.clear();
        const std::wstring found = failures < 2 ? L"C:\\found" : L"none";
        EXPECT_EQ(ostrel_platform::common_program_files_folder().value_or(L"none"), found);
        EXPECT_EQ(asked_folders, failures == 0 ? std::vector<int>{0x2C} : (std::vector<int>{0x2C, 0x2B}));
    }
    folders_that_fail = 1000;
    statistic_handle_t* const handle = ostrel_create_statistic("product", "1");
    ostrel_set_statistic_collection_enabled(handle, 1);
    EXPECT_EQ(ostrel_should_ask_user_consent(handle), 1);
    ostrel_notify_feature_usage(handle, "run.a");
    ostrel_destroy_statistic(handle);
    EXPECT_TRUE(fs::is_empty(profile.local_app_data()));
}

TEST_F(windows, any_product_name_gives_a_folder_or_a_clear_failure) {
    const std::string name = "pr\u00f6dukt \u65e5\u672c \U0001F600";
    ostrel_destroy_statistic(ostrel_create_statistic(name.c_str(), "1"));
    EXPECT_TRUE(fs::exists(profile.statistic_dir(name) / "uuid.xml"));
    fs::remove_all(profile.company());
    EXPECT_THROW(ostrel_create_statistic(std::string(300, 'x').c_str(), "1"), std::exception);
    EXPECT_TRUE(fs::is_empty(profile.company()));
}

/// With the variable set, this program is the tool that prints its command line.
int main(int argc, char** argv) {
    if (const char* const out = std::getenv("OSTREL_TEST_PRINT_LINE_TO")) {
        std::ofstream(out, std::ios::binary) << ostrel_platform::to_utf8(::GetCommandLineW()) + "\n";
        return 259;
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
