// The software-manager bridge against a stand-in tool: command lines, outcomes and the machine id.
#include "settor2/product_locations_c.h"
#include "support/pellar.h"

#include <atomic>
#include <functional>
#include <stdexcept>

using namespace test_support;

namespace {

constexpr int pellar = accessor_t::tool_pellar;
constexpr int an_error = 1 << 20; ///< stands for whatever positive number the system gives

class pellar_accessor : public pellar_test_t {
protected:
    /// Makes a file that the stand-in may consume.
    kiln2::path_t fresh_file() const {
        write_file(profile.folder() / fs::u8path(u8"f \u00e9.zip"), "x");
        return wide(profile.folder() / fs::u8path(u8"f \u00e9.zip"));
    }
};

} // namespace

TEST_F(pellar_accessor, every_operation_runs_its_tool_with_its_arguments) {
    const kiln2::path_t file = fresh_file();
    const std::string path = ostrel_platform::to_utf8(file.as_string());
    const texts_t waiting{"tool=0", "sync=1"};
    const struct {
        std::function<void()> call;
        texts_t lines;
        std::string run;
    } rows[] = {
        {[&] { bridge.send_file(file, false); }, texts_t{"aggregated_file=" + path} + waiting,
         "[-t][i][-e][statistic][-m][" + path + "]"},
        {[&] { bridge.send_file(file, true); }, {}, "[-t][i][-e][statistic][-f][-m][" + path + "]"},
        {[&] { bridge.send_crash_report(file, false); }, texts_t{"file=" + path} + waiting,
         "[-t][i][-e][crash][-m][" + path + "]"},
        {[&] { bridge.send_crash_report(file, true); }, {}, "[-t][i][-e][crash][-f][-m][" + path + "]"},
        {[&] { bridge.send_usage_package(); }, waiting, "[-t][i][-b]"},
        {[&] { bridge.is_feedback_enabled(); }, {"tool=2", "sync=1"}, "[-g]"},
        {[&] { bridge.notify_gui_start(); },
         {"tool=2", "sync=0"},
         "[-w][-s][" + std::to_string(ostrel_platform::process_id()) + "]"},
        {[&] { bridge.check_for_updates(L"{1 2}"); },
         {"product_guid={1 2}", "tool=1", "sync=0"},
         "[--product_guid][{1 2}][--action][check]"},
        {[&] { bridge.check_for_updates(L""); }, {}, "[--product_guid][][--action][check]"},
    };
    for (const auto& row : rows) {
        forget();
        row.call();
        EXPECT_TRUE(wait_for_runs(1));
        EXPECT_EQ(runs(), texts_t{row.run});
        texts_t first_lines = logged();
        first_lines.resize(row.lines.size());
        EXPECT_EQ(first_lines, row.lines);
    }
}

TEST_F(pellar_accessor, outcomes_mean_what_each_operation_makes_of_them) {
    const auto expect = [this](const char* situation, bool file, bool usage_package, bool feedback) {
        EXPECT_EQ(bridge.send_file(fresh_file(), false), file) << situation;
        EXPECT_EQ(bridge.send_crash_report(fresh_file(), false), file) << situation;
        EXPECT_EQ(bridge.send_usage_package(), usage_package) << situation;
        EXPECT_EQ(bridge.is_feedback_enabled(), feedback) << situation;
        EXPECT_EQ(log.texts().back(), feedback ? "return: feedback enabled" : "return: feedback disabled");
    };
    expect("exit code 0, file left", false, true, true);
    profile.set("STAND_IN_EXIT", "3");
    expect("exit code 3, file left", false, true, false);
    profile.set("STAND_IN_ACTION", "delete");
    expect("exit code 3, file gone", true, true, false);
    profile.set("STAND_IN_EXIT", "0");
    EXPECT_TRUE(bridge.send_file(wide(profile.folder() / "missing"), false)) << "sent once the tool ran";
    remove_when_free(tools());
    expect("no tool", false, false, false);
    EXPECT_FALSE(bridge.send_file(wide(profile.folder() / "missing"), false));
}

TEST_F(pellar_accessor, situations_become_results_and_lines) {
    const auto expect = [this](int tool, int sync, int detached, const texts_t& lines, texts_t last = {}) {
        forget();
        const int result = invoke(tool, {L"a b", L"\u00e9\u4e2d"}, true);
        EXPECT_TRUE(sync == an_error ? result > 0 : result == sync) << result;
        for (std::string& line : last)
            line.insert(line.find(": ") == std::string::npos ? line.size() : line.size() - 1,
                        std::to_string(result));
        const std::string first = "tool=" + std::to_string(tool);
        EXPECT_EQ(logged(), (texts_t{first, "sync=1"} + lines + last));
        log.clear();
        EXPECT_EQ(invoke(tool, {L"a b", L"\u00e9\u4e2d"}, false), detached);
        EXPECT_EQ(logged(), (texts_t{first, "sync=0"} + lines));
    };
    const auto located = [this](const char* name) {
        const std::string path = (tools() / name).u8string();
        return texts_t{"pellar location=" + path,
                       "pellar command line='\"" + path + "\" \"a b\" \"\u00e9\u4e2d\"'"};
    };
    profile.set("STAND_IN_EXIT", "7");
    expect(pellar, 7, 0, located("pellar.exe"), {"pellar return code="});
    EXPECT_TRUE(wait_for_runs(2));
    EXPECT_EQ(runs(), texts_t(2, "[a b][\u00e9\u4e2d]"));
    profile.set("OSTREL_DISABLE_PELLAR", "false");
    expect(pellar, 0, 0, {});
    profile.set("OSTREL_DISABLE_PELLAR", "");
    remove_when_free(tools() / "pellar.exe");
    write_file(tools() / "pellar.exe", std::string("\0no program", 11));
    expect(pellar, an_error, -1, located("pellar.exe"), {"E CreateProcessW failed: @"});
    const texts_t missing{"pellar location=", "E Failed to find pellar location@"};
    expect(3, -1, -1, missing);
    expect(-1, -1, -1, missing);
    for (const std::string& folder : {std::string(), profile.folder().u8string()}) {
        profile.set("PELLAR_DIR", folder);
        expect(pellar, -1, -1, missing);
    }
    locations.manager_expected = true;
    expect(pellar, -1, -1, {"pellar location="});
    locations_t::install(nullptr);
    expect(pellar, -1, -1, missing);
    EXPECT_TRUE(runs().empty());
}

TEST_F(pellar_accessor, standard_folder_wins_over_the_variable_and_must_be_known) {
    using OSTREL_NAMESPACE::locate_tool;
    static std::optional<std::wstring> folder;
    folder = wide(profile.folder() / "common");
    const auto program_files = [] { return folder; };
    EXPECT_EQ(locate_tool(accessor_t::tool_pellar, program_files).as_string(), wide(tools() / "pellar.exe"));
    const fs::path standard = profile.folder() / "common" / "Norvane" / "Pellar";
    install_tools(standard);
    EXPECT_EQ(locate_tool(accessor_t::tool_pellar, program_files).as_string(), wide(standard / "pellar.exe"));
    folder.reset();
    EXPECT_TRUE(locate_tool(accessor_t::tool_pellar, program_files).is_empty());
    const auto fail = []() -> std::optional<std::wstring> { throw std::logic_error("asked"); };
    EXPECT_TRUE(locate_tool(static_cast<accessor_t::pellar_tool_t>(3), fail).is_empty());
}

TEST_F(pellar_accessor, detached_starts_return_while_the_tool_hangs) {
    profile.set("STAND_IN_ACTION", "wait");
    profile.set("STAND_IN_UNTIL", (profile.folder() / "go").u8string());
    bridge.notify_gui_start();
    EXPECT_TRUE(wait_for_runs(1));
    write_file(profile.folder() / "go", "");
    // Some systems keep a program's file while it runs, and with it the folder of this test.
    remove_when_free(tools());
}

TEST_F(pellar_accessor, the_check_for_updates_has_a_switch_of_its_own) {
    profile.set("NORVANE_DISABLE_UPDATES_CHECK", "0");
    EXPECT_FALSE(bridge.is_check_for_updates_enabled());
    bridge.check_for_updates(L"g");
    EXPECT_EQ(logged(), (texts_t{"product_guid=g", "Check for updates disabled."}));
    profile.set("NORVANE_DISABLE_UPDATES_CHECK", "");
    profile.set("OSTREL_DISABLE_PELLAR", "1");
    EXPECT_TRUE(bridge.is_check_for_updates_enabled());
    EXPECT_EQ(accessor_t().get_product_id().value, 0U);
    bridge.set_product_id({4000000000U});
    EXPECT_EQ(accessor_t(bridge).get_product_id().value, 4000000000U);
    EXPECT_EQ(accessor_t::DefaultProductGUID, L"{00000000-0000-0000-0000-000000000000}");
}

TEST_F(pellar_accessor, calls_are_traced_under_their_signatures) {
    profile.set("OSTREL_DISABLE_PELLAR", "1");
    const log_capture_t trace("ostrel.pellar_accessor", 0);
    bridge.send_usage_package();
    const std::string text =
        "std::basic_string<__wchar_t, std::char_traits<__wchar_t>, std::allocator<__wchar_t>>";
    const std::string type = "ostrel_1_5_6::pellar_accessor_impl_t::",
                      outer = "bool " + type + "send_usage_package()",
                      allowed = "bool " + type + "is_pellar_call_allowed() const";
    const std::string invoked = "int " + type + "invoke_pellar(" + type +
                                "pellar_tool_t, const std::vector<" + text + ", std::allocator<" + text +
                                ">> &, bool) const";
    EXPECT_EQ(trace.texts(), (texts_t{"ENTER: " + outer, "ENTER: " + invoked, "tool=0", "sync=1",
                                      "ENTER: " + allowed, "Return 'false' - OSTREL_DISABLE_PELLAR is set",
                                      "EXIT:  " + allowed, "EXIT:  " + invoked, "EXIT:  " + outer}));
}

TEST_F(pellar_accessor, the_machine_id_is_the_first_line_of_the_answer) {
    const std::string long_line(1U << 20U, 'x');
    const std::pair<std::string, std::wstring> rows[] = {
        {"abc\r\ndef\r\n", L"abc"},
        {"\nsecond", L""},
        {"a\rb\u00e9\u4e2d\xFF\xC3(\n", L"a\rb\u00e9\u4e2d("},
        {long_line + "\nrest", std::wstring(long_line.begin(), long_line.end())},
    };
    for (const auto& [bytes, id] : rows) {
        answer(bytes);
        EXPECT_TRUE(bridge.get_uuid() == id) << bytes.substr(0, 20);
        EXPECT_EQ(logged().back(), "return: uuid = " + ostrel_platform::to_utf8(id));
        EXPECT_TRUE(fs::is_empty(temp()));
    }
    const std::string file = "uuid-" + std::to_string(ostrel_platform::process_id()) + "-1.txt";
    EXPECT_EQ(runs().front(), "[-u][" + (temp() / file).u8string() + "]");
}

TEST_F(pellar_accessor, the_answer_is_logged_after_its_file_is_removed_and_before_the_lock_is_released) {
    struct watcher_t : log4cplus::Appender {
        ~watcher_t() override { destructorImpl(); }
        void close() override {}
        void append(const log4cplus::spi::InternalLoggingEvent&) override {
            files.clear();
            for (const auto& file : fs::directory_iterator(folder))
                files.push_back(file.path().extension().string());
        }
        fs::path folder;
        texts_t files; ///< at the last line
    };
    const log4cplus::helpers::SharedObjectPtr<watcher_t> watcher(new watcher_t);
    watcher->folder = temp();
    log4cplus::Logger logger = log4cplus::Logger::getInstance(LOG4CPLUS_TEXT("ostrel.pellar_accessor"));
    logger.addAppender(log4cplus::SharedAppenderPtr(watcher.get()));
    answer("abc");
    EXPECT_EQ(bridge.get_uuid(), L"abc");
    logger.removeAppender(log4cplus::SharedAppenderPtr(watcher.get()));
    EXPECT_EQ(watcher->files, texts_t{".lock"});
}

TEST_F(pellar_accessor, without_an_answer_the_machine_id_is_empty) {
    const auto expect = [this](std::size_t count, const texts_t& last_lines) {
        forget();
        EXPECT_EQ(bridge.get_uuid(), L"");
        texts_t lines = logged();
        lines.erase(lines.begin(), lines.end() - static_cast<int>(last_lines.size()));
        EXPECT_EQ(lines, last_lines);
        EXPECT_EQ(runs().size(), count);
        EXPECT_TRUE(fs::is_empty(temp()));
    };
    profile.set("STAND_IN_ACTION", "delete");
    expect(19, {"pellar return code=0", "return: empty string"});
    profile.set("STAND_IN_ACTION", "");
    profile.set("STAND_IN_EXIT", "1");
    expect(1, {"pellar return code=1", "return: uuid = "});
    remove_when_free(tools());
    expect(0, {"E Failed to find pellar location@", "return: uuid = "});
    locations.temp_dir += L" missing";
    expect(0, {"return: empty string"});
    locations.temp_dir.clear();
    expect(0, {"E settor2::IProductLocations::get()->getTempDir() returned empty path@",
               "return: empty string"});
    locations_t::install(nullptr);
    expect(0, {"E settor2::IProductLocations::get() is NULL@", "return: empty string"});
}

TEST_F(pellar_accessor, the_service_of_a_c_host_is_copied_and_kept_for_its_readers) {
    settor2_product_locations_t in_c = {{7, 1, 2}, "location", "f\xC3\xB6lder", "t\xC3\xA9mp", 1};
    settor2_install_product_locations(&in_c);
    const settor2::IProductLocations* const first = settor2::IProductLocations::get();
    in_c = {{}, nullptr, nullptr, nullptr, 0};
    settor2_install_product_locations(&in_c);
    const settor2::IProductLocations* const second = settor2::IProductLocations::get();
    EXPECT_NE(first, second);
    EXPECT_EQ(first->getFolder(), std::wstring(L"f\u00f6lder"));
    EXPECT_EQ(first->getTempDir(), std::wstring(L"t\u00e9mp"));
    EXPECT_TRUE(first->isManagerExpected());
    EXPECT_EQ(second->getTempDir(), std::wstring());
    EXPECT_FALSE(second->isManagerExpected());
}

TEST_F(pellar_accessor, threads_that_ask_at_once_all_get_the_answer) {
    answer("abc \u00e9\n");
    std::atomic<int> answers{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 16; ++i)
        threads.emplace_back([&] { answers += accessor_t().get_uuid() == L"abc \u00e9" ? 1 : 0; });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(answers, 16);
    EXPECT_EQ(runs().size(), 16U);
    EXPECT_TRUE(fs::is_empty(temp()));
}
