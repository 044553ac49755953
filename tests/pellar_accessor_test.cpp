// The software-manager bridge against a stand-in tool: command lines, results and the machine id.
#include "support/pellar.h"

#include <functional>
#include <future>

using namespace test_support;
using ostrel_platform::to_utf8;

namespace {

struct pellar_accessor : pellar_test_t {
    /// Creates a file that the stand-in may delete.
    kiln2::path_t fresh_file() const {
        const fs::path file = profile.folder() / fs::u8path(u8"f \u00e9.zip");
        write_file(file, "x");
        return wide(file);
    }
};

} // namespace

TEST_F(pellar_accessor, every_operation_runs_its_tool_with_its_arguments) {
    const kiln2::path_t file = fresh_file();
    const std::string path = to_utf8(file.as_string());
    const std::string process = std::to_string(ostrel_platform::process_id());
    const texts_t upload{"aggregated_file=" + path, "tool=0", "sync=1"},
        crash{"file=" + path, "tool=0", "sync=1"};
    const std::tuple<std::function<void()>, texts_t, std::string> rows[] = {
        {[&] { bridge.send_file(file, false); }, upload, "[-t][i][-e][statistic][-m][" + path + "]"},
        {[&] { bridge.send_file(file, true); }, upload, "[-t][i][-e][statistic][-f][-m][" + path + "]"},
        {[&] { bridge.send_crash_report(file, true); }, crash, "[-t][i][-e][crash][-f][-m][" + path + "]"},
        {[&] { bridge.send_usage_package(); }, {"tool=0", "sync=1"}, "[-t][i][-b]"},
        {[&] { bridge.is_feedback_enabled(); }, {"tool=2", "sync=1"}, "[-g]"},
        {[&] { bridge.notify_gui_start(); }, {"tool=2", "sync=0"}, "[-w][-s][" + process + "]"},
        {[&] { bridge.check_for_updates(L"{1 2}"); },
         {"product_guid={1 2}", "tool=1", "sync=0"},
         "[--product_guid][{1 2}][--action][check]"},
    };
    for (const auto& [call, lines, run] : rows) {
        SCOPED_TRACE(run);
        forget();
        call();
        EXPECT_EQ(wait_for_runs(1), texts_t{run});
        texts_t first_lines = logged();
        first_lines.resize(lines.size());
        EXPECT_EQ(first_lines, lines);
    }
}

TEST_F(pellar_accessor, an_upload_succeeded_if_the_tool_ran_and_the_file_is_gone) {
    const auto expect = [this](const char* situation, bool file, bool usage_package, bool feedback) {
        SCOPED_TRACE(situation);
        EXPECT_EQ(bridge.send_file(fresh_file(), false), file);
        EXPECT_EQ(bridge.send_crash_report(fresh_file(), false), file);
        EXPECT_EQ(bridge.send_usage_package(), usage_package);
        EXPECT_EQ(bridge.is_feedback_enabled(), feedback);
        EXPECT_EQ(log.texts().back(), feedback ? "return: feedback enabled" : "return: feedback disabled");
    };
    expect("exit code 0, file left", false, true, true);
    profile.set("STAND_IN_EXIT", "3");
    profile.set("STAND_IN_ACTION", "delete");
    expect("exit code 3, file gone", true, true, false);
    remove_when_free(tools());
    expect("no tool", false, false, false);
    EXPECT_FALSE(bridge.send_file(wide(profile.folder() / "missing"), false));
}

TEST_F(pellar_accessor, every_situation_has_the_expected_result_and_log_lines) {
    const auto expect = [this](int tool, int sync, int detached, const texts_t& lines,
                               const texts_t& last = {}) {
        SCOPED_TRACE(testing::PrintToString(lines));
        forget();
        const std::string first = "tool=" + std::to_string(tool);
        EXPECT_EQ(invoke(tool, {L"a b", L"\u00e9\u4e2d"}, true), sync);
        EXPECT_EQ(logged(), texts_t({first, "sync=1"}) + lines + last);
        log.clear();
        EXPECT_EQ(invoke(tool, {L"a b", L"\u00e9\u4e2d"}, false), detached);
        EXPECT_EQ(logged(), texts_t({first, "sync=0"}) + lines);
    };
    const std::string path = (tools() / "pellar.exe").u8string();
    profile.set("STAND_IN_EXIT", "7");
    expect(pellar, 7, 0,
           {"pellar location=" + path, "pellar command line='\"" + path + "\" \"a b\" \"\u00e9\u4e2d\"'"},
           {"pellar return code=7"});
    EXPECT_EQ(wait_for_runs(2), texts_t(2, "[a b][\u00e9\u4e2d]"));
    profile.set("OSTREL_DISABLE_PELLAR", "false");
    expect(pellar, 0, 0, {});
    profile.set("OSTREL_DISABLE_PELLAR", "");
    const texts_t missing{"pellar location=", "E Failed to find pellar location@"};
    expect(3, -1, -1, missing);
    profile.set("PELLAR_DIR", profile.folder().u8string());
    expect(pellar, -1, -1, missing);
    locations.manager_expected = true;
    expect(pellar, -1, -1, {"pellar location="});
    locations_t::install(nullptr);
    expect(pellar, -1, -1, missing);
}

TEST_F(pellar_accessor, a_failed_start_is_logged_and_returns_the_systems_error) {
    write_file(tools() / "pellar.exe", std::string("\0no program", 11));
    const int error = invoke(pellar, {}, true);
    EXPECT_GT(error, 0);
    EXPECT_EQ(logged().back(), "E CreateProcessW failed: " + std::to_string(error) + "@");
    EXPECT_EQ(invoke(pellar, {}, false), -1);
}

TEST_F(pellar_accessor, the_common_files_folder_precedes_pellar_dir) {
    using OSTREL_NAMESPACE::locate_tool;
    static std::optional<std::wstring> folder;
    folder = wide(profile.folder() / "common");
    const auto located = [] {
        return locate_tool(accessor_t::tool_pellar, [] { return folder; }).as_string();
    };
    EXPECT_EQ(located(), wide(tools() / "pellar.exe"));
    const fs::path standard = profile.folder() / "common" / "Norvane" / "Pellar";
    install_tools(standard);
    EXPECT_EQ(located(), wide(standard / "pellar.exe"));
    folder.reset();
    EXPECT_EQ(located(), L"") << "the system names no folder";
    const auto fail = []() -> std::optional<std::wstring> { throw std::logic_error("asked"); };
    EXPECT_TRUE(locate_tool(static_cast<accessor_t::pellar_tool_t>(3), fail).is_empty());
}

TEST_F(pellar_accessor, a_detached_start_returns_while_the_tool_runs) {
    profile.set("STAND_IN_ACTION", "wait");
    profile.set("STAND_IN_UNTIL", (profile.folder() / "go").u8string());
    bridge.notify_gui_start();
    EXPECT_EQ(wait_for_runs(1).size(), 1U);
    write_file(profile.folder() / "go", "");
    remove_when_free(tools()); // Windows does not delete a running program
}

TEST_F(pellar_accessor, the_update_check_has_its_own_switch) {
    profile.set("NORVANE_DISABLE_UPDATES_CHECK", "0");
    bridge.check_for_updates(L"g");
    EXPECT_EQ(logged(), (texts_t{"product_guid=g", "Check for updates disabled."}));
    profile.set("NORVANE_DISABLE_UPDATES_CHECK", "");
    profile.set("OSTREL_DISABLE_PELLAR", "1");
    EXPECT_TRUE(bridge.is_check_for_updates_enabled());
    EXPECT_EQ(accessor_t::DefaultProductGUID, L"{00000000-0000-0000-0000-000000000000}");
}

TEST_F(pellar_accessor, calls_are_traced_under_their_signatures) {
    profile.set("OSTREL_DISABLE_PELLAR", "1");
    const log_capture_t trace("ostrel.pellar_accessor", 0);
    bridge.send_usage_package();
    const std::string type = library + "pellar_accessor_impl_t::";
    const texts_t allowed = traced("bool " + type + "is_pellar_call_allowed() const",
                                   {"Return 'false' - OSTREL_DISABLE_PELLAR is set"});
    const texts_t invoked =
        traced("int " + type + "invoke_pellar(" + type + "pellar_tool_t, const std::vector<" + wide_text +
                   ", std::allocator<" + wide_text + ">> &, bool) const",
               texts_t{"tool=0", "sync=1"} + allowed);
    EXPECT_EQ(trace.texts(), traced("bool " + type + "send_usage_package()", invoked));
}

TEST_F(pellar_accessor, the_machine_id_is_the_first_line_of_the_answer) {
    texts_t kept; // extensions of the files in the exchange folder when the last line is logged
    log.on_line([&] {
        kept.clear();
        for (const auto& file : fs::directory_iterator(temp()))
            kept.push_back(file.path().extension().string());
    });
    const std::string long_line(1U << 20U, 'x');
    const std::pair<std::string, std::string> rows[] = {{"abc\r\ndef\r\n", "abc"},
                                                        {"\nsecond", ""},
                                                        {"a\rb\u00e9\u4e2d\xFF\xC3(\n", "a\rb\u00e9\u4e2d("},
                                                        {long_line + "\nrest", long_line}};
    for (const auto& [bytes, id] : rows) {
        SCOPED_TRACE(bytes.substr(0, 20));
        answer(bytes);
        EXPECT_EQ(to_utf8(bridge.get_uuid()), id);
        EXPECT_EQ(logged().back(), "return: uuid = " + id);
        EXPECT_EQ(kept, texts_t{".lock"}) << "logged after the removal of the file, under the lock";
        EXPECT_TRUE(fs::is_empty(temp()));
    }
    const std::string file = "uuid-" + std::to_string(ostrel_platform::process_id()) + "-1.txt";
    EXPECT_EQ(runs().front(), "[-u][" + (temp() / file).u8string() + "]");
}

TEST_F(pellar_accessor, without_an_answer_the_machine_id_is_empty) {
    const auto expect = [this](std::size_t count, const texts_t& last_lines) {
        SCOPED_TRACE(testing::PrintToString(last_lines));
        forget();
        EXPECT_EQ(bridge.get_uuid(), L"");
        const texts_t lines = logged();
        EXPECT_EQ(texts_t(lines.end() - static_cast<int>(last_lines.size()), lines.end()), last_lines);
        EXPECT_EQ(runs().size(), count);
        EXPECT_TRUE(fs::is_empty(temp()));
    };
    profile.set("STAND_IN_ACTION", "delete");
    expect(19, {"pellar return code=0", "return: empty string"});
    profile.set("STAND_IN_ACTION", "");
    profile.set("STAND_IN_EXIT", "1");
    expect(1, {"pellar return code=1", "return: uuid = "});
    locations.temp_dir += L" missing";
    expect(0, {"return: empty string"});
    locations.temp_dir.clear();
    expect(0, {"E settor2::IProductLocations::get()->getTempDir() returned empty path@",
               "return: empty string"});
    locations_t::install(nullptr);
    expect(0, {"E settor2::IProductLocations::get() is NULL@", "return: empty string"});
}

TEST_F(pellar_accessor, concurrent_threads_all_get_the_machine_id) {
    answer("abc \u00e9\n");
    std::vector<std::future<std::wstring>> ids(16);
    for (auto& id : ids)
        id = std::async(std::launch::async, [] { return accessor_t().get_uuid(); });
    for (auto& id : ids)
        EXPECT_EQ(id.get(), L"abc \u00e9");
    EXPECT_EQ(runs().size(), 16U);
}
