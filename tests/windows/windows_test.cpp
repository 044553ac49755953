// What only Windows has: its proxy settings, registry, shared files, command lines and sessions.
#include "foundations/trace.h"
#include "http_connector/http_connector.h"
#include "http_connector/proxy_discovery.h"
#include "ostrel/datetime.h"
#include "ostrel/filelock.h"
#include "ostrel/ostrel.h"
#include "ostrel/pellar_accessor.h"
#include "pellar_accessor/quote.h"
#include "platform/files.h"
#include "platform/folders.h"
#include "platform/os_name.h"
#include "platform/utf.h"
#include "support/collector.h"
#include "support/log_capture.h"
#include "support/profile.h"

#include <windows.h>

#include <shlobj.h>
#include <winhttp.h>

#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <thread>

using namespace test_support;
using namespace OSTREL_NAMESPACE;
using texts_t = std::vector<std::string>;
namespace fs = std::filesystem;

namespace {

/// Points an import of this program elsewhere while it lives.
class redirect_t {
public:
    template <class Function>
    redirect_t(const char* name, Function* replacement) : m_slot(slot_of(name)), m_former(*m_slot) {
        point_to(reinterpret_cast<void*>(replacement));
    }
    ~redirect_t() { point_to(m_former); }
    redirect_t(const redirect_t&) = delete;
    redirect_t& operator=(const redirect_t&) = delete;

private:
    static void** slot_of(const char* name) {
        auto* const base = reinterpret_cast<char*>(::GetModuleHandleW(nullptr));
        const auto* const headers =
            reinterpret_cast<IMAGE_NT_HEADERS*>(base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
        const DWORD offset =
            headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
        for (auto* library = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + offset); library->Name != 0;
             ++library) {
            const auto* names = reinterpret_cast<ULONG_PTR*>(base + library->OriginalFirstThunk);
            for (auto** slot = reinterpret_cast<void**>(base + library->FirstThunk); *names != 0;
                 ++names, ++slot)
                if (std::strcmp(base + *names + sizeof(WORD), name) == 0)
                    return slot;
        }
        throw std::runtime_error(name);
    }
    void point_to(void* target) const {
        DWORD former = 0;
        ::VirtualProtect(m_slot, sizeof *m_slot, PAGE_READWRITE, &former);
        *m_slot = target;
        ::VirtualProtect(m_slot, sizeof *m_slot, former, &former);
    }

    void** m_slot;
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

std::string address_of(const collector_t& collector) {
    return "127.0.0.1:" + std::to_string(collector.port());
}

/// A profile whose machine has a registry of its own too; the user's belongs to every profile.
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

wchar_t* global_copy(const wchar_t* text) {
    const std::size_t bytes = (std::wcslen(text) + 1) * sizeof *text;
    return static_cast<wchar_t*>(std::memcpy(::GlobalAlloc(GMEM_FIXED, bytes), text, bytes));
}

BOOL WINAPI discover(HINTERNET /*session*/, LPCWSTR url, WINHTTP_AUTOPROXY_OPTIONS* options,
                     WINHTTP_PROXY_INFO* info) {
    discovery_calls.push_back(ostrel_platform::to_utf8(url) + " " + std::to_string(options->dwFlags) + " " +
                              std::to_string(options->dwAutoDetectFlags) + " " +
                              std::to_string(options->fAutoLogonIfChallenged));
    *info = {discovered.dwAccessType, nullptr, nullptr};
    if (discovered.lpszProxy != nullptr)
        info->lpszProxy = global_copy(discovered.lpszProxy);
    return discovered.dwAccessType != 0;
}

std::vector<int> lost_folders;
std::vector<int> asked_folders;

HRESULT WINAPI find_folder(HWND /*owner*/, int folder, HANDLE /*token*/, DWORD /*flags*/, LPWSTR path) {
    asked_folders.push_back(folder);
    std::wcscpy(path, L"C:\\found");
    return std::count(lost_folders.begin(), lost_folders.end(), folder) != 0 ? E_FAIL : S_OK;
}

int WINAPI metrics_of_a_remote_session(int index) {
    return index == 0x1000 ? 1 : 0;
}

decltype(&::CreateFileW) real_open = nullptr;

HANDLE WINAPI open_on_a_read_only_drive(LPCWSTR path, DWORD access, DWORD sharing,
                                        SECURITY_ATTRIBUTES* security, DWORD disposition, DWORD flags,
                                        HANDLE like) {
    if (access == GENERIC_READ)
        return real_open(path, access, sharing, security, disposition, flags, like);
    ::SetLastError(ERROR_WRITE_PROTECT);
    return INVALID_HANDLE_VALUE;
}

errno_t __cdecl create_on_a_read_only_drive(int* descriptor, const wchar_t*, int, int, int) {
    *descriptor = -1;
    return EROFS;
}

} // namespace

TEST_F(windows, proxies_come_from_the_browser_discovery_the_machine_and_only_then_the_variable) {
    const redirect_t redirect("WinHttpGetProxyForUrl", &discover);
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
        {"", {0, nullptr, nullptr}, {1, ""}, "e:4", {"e:4"}},
        {"", {0, nullptr, nullptr}, {1, ""}, "", {""}},
        {"http=h:1;https=s:2", {0, nullptr, nullptr}, {1, ""}, "e:4", {"http=h:1;https=s:2"}},
        {"", {0, nullptr, nullptr}, {3, "m:3"}, "e:4", {"m:3"}},
        {"b:1", {0, nullptr, nullptr}, {3, "m:3"}, none, {"b:1", "m:3"}},
        {"b:1", {3, w2, nullptr}, {3, "b:1"}, "e:4", {"b:1", "w:2", "b:1"}},
        {"", {1, w2, nullptr}, {1, "m:3"}, none, {}},
        {"", {3, nullptr, nullptr}, {1, ""}, "e:4", {"e:4"}},
    };
    for (const auto& row : rows) {
        set_browser_proxy(row.browser);
        discovered = row.discovered;
        set_machine_proxy(row.machine.first, row.machine.second);
        profile.unset("http_proxy");
        if (row.variable)
            profile.set("http_proxy", *row.variable);
        discovery_calls.clear();
        texts_t candidates;
        discover_proxies("http://c/\u00e9", candidates);
        EXPECT_EQ(candidates, row.expected);
        EXPECT_EQ(discovery_calls, texts_t{"http://c/\u00e9 1 3 1"});
    }
}

TEST_F(windows, hits_go_through_the_machines_proxy_once_the_browsers_has_failed) {
    const collector_t browser([](const request_t&) { return 502U; });
    const collector_t machine;
    set_browser_proxy(address_of(browser));
    set_machine_proxy(3, address_of(machine));
    {
        http_connector_t connector("http://collector.example/collect");
        connector.send("1");
        connector.send("2");
    }
    EXPECT_EQ(browser.bodies(), texts_t{"1"});
    EXPECT_EQ(machine.bodies(), (texts_t{"1", "2"}));
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
        {REG_SZ, utf16_bytes(name + L'\0' + L"rest"), name},
        {REG_SZ, "", L""},
        {REG_SZ, utf16_bytes(longest + L'\0'), longest},
        {REG_SZ, utf16_bytes(longest + L"x" + L'\0'), std::nullopt},
        {REG_DWORD, field(7), std::nullopt},
        {REG_EXPAND_SZ, utf16_bytes(name + L'\0'), std::nullopt},
        {REG_MULTI_SZ, utf16_bytes(name + L'\0' + L'\0'), std::nullopt},
    };
    for (const auto& row : rows) {
        store(HKEY_LOCAL_MACHINE, key, L"ProductName", row.type, row.bytes);
        EXPECT_EQ(ostrel_platform::os_product_name(), row.expected) << row.type << ", " << row.bytes.size();
    }
}

TEST_F(windows, files_are_shared_except_for_the_time_of_one_that_is_being_written) {
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
}

TEST_F(windows, a_file_that_cannot_be_replaced_stays_whole_and_leaves_no_draft) {
    const fs::path file = profile.folder() / "file";
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
    EXPECT_EQ(result.code, 259U); // what a running process has, too
    EXPECT_EQ(read_file(out), expected);
    fs::remove(out);
    EXPECT_TRUE(ostrel_platform::start_detached(command));
    for (int tries = 0; tries < 6000 && read_file(out) != expected; ++tries)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(read_file(out), expected);
}

TEST_F(windows, in_a_remote_session_no_tool_is_looked_for) {
    pellar_accessor_impl_t bridge;
    const log_capture_t log("ostrel.pellar_accessor", 20000);
    {
        const redirect_t redirect("GetSystemMetrics", &metrics_of_a_remote_session);
        EXPECT_FALSE(bridge.send_usage_package());
        EXPECT_EQ(log.texts(), (texts_t{"tool=0", "sync=1"}));
    }
    bridge.send_usage_package();
    EXPECT_EQ(log.texts().at(4), "pellar location=");
}

TEST_F(windows, folders_that_the_system_does_not_name_are_done_without) {
    const redirect_t redirect("SHGetFolderPathW", &find_folder);
    const struct {
        std::vector<int> lost;
        std::optional<std::wstring> folder;
        std::vector<int> asked;
    } rows[] = {
        {{}, L"C:\\found", {0x2C}},
        {{0x2C}, L"C:\\found", {0x2C, 0x2B}},
        {{0x2C, 0x2B}, std::nullopt, {0x2C, 0x2B}},
    };
    for (const auto& row : rows) {
        lost_folders = row.lost;
        asked_folders.clear();
        EXPECT_EQ(ostrel_platform::common_program_files_folder(), row.folder);
        EXPECT_EQ(asked_folders, row.asked);
    }
    lost_folders = {0x1C};
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

TEST_F(windows, on_a_read_only_drive_everything_works_and_nothing_is_kept) {
    const collector_t collector;
    profile.set("OSTREL_COLLECTION_URL", collector.url());
    profile.set("NORVANE_FORCE_FEEDBACK", "1");
    fs::create_directories(profile.statistic_dir());
    real_open = &::CreateFileW;
    const redirect_t files("CreateFileW", &open_on_a_read_only_drive);
    const redirect_t locks("_wsopen_s", &create_on_a_read_only_drive);
    statistic_handle_t* const handle = ostrel_create_statistic("product", "1");
    ostrel_notify_feature_usage(handle, "run.a");
    profile.unset("NORVANE_FORCE_FEEDBACK");
    ostrel_set_statistic_collection_enabled(handle, 1);
    EXPECT_EQ(ostrel_should_ask_user_consent(handle), 1);
    ostrel_destroy_statistic(handle);
    EXPECT_EQ(collector.bodies().size(), 1U);
    EXPECT_TRUE(fs::is_empty(profile.statistic_dir()));
    EXPECT_FALSE(filelock_t(wide(profile.folder() / "data.xml")).lock());
}

/// Also the tool of the test of command lines.
int main(int argc, char** argv) {
    if (const auto out = get_variable("OSTREL_TEST_PRINT_LINE_TO")) {
        std::ofstream(fs::u8path(*out), std::ios::binary)
            << ostrel_platform::to_utf8(::GetCommandLineW()) + "\n";
        return 259;
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
