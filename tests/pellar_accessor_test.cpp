// The software-manager bridge against a stand-in tool: command lines, outcomes and the machine id.
#include "pellar_accessor/quote.h"
#include "platform/utf.h"
#include "support/pellar.h"

#include <cstring>
#include <functional>
#include <thread>

using namespace test_support;

namespace {

namespace fs = std::filesystem;
using ostrel_platform::to_utf8;
using accessor_t = OSTREL_NAMESPACE::pellar_accessor_impl_t;
using lines_t = std::vector<std::string>;

constexpr int remote_monitor = accessor_t::tool_remote_monitor;
constexpr int pellar = accessor_t::tool_pellar;

/// From the stand-in's spelling of arguments to that of command lines.
std::string in_quotes(std::string run) {
    for (const auto& [from, to] : {std::pair("][", "\" \""), std::pair("[", "\""), std::pair("]", "\"")})
        for (auto at = run.find(from); at != std::string::npos; at = run.find(from))
            run.replace(at, std::strlen(from), to);
    return run;
}

class pellar_accessor : public pellar_test_t {
protected:
    std::string tool_path(const char* name) const { return (tools() / name).u8string(); }
    lines_t logged() const { return plain(log.lines()); }

    /// Makes a file that the stand-in may consume.
    kiln2::path_t fresh_file() const {
        write_file(profile.folder() / fs::u8path(u8"f \u00e9.zip"), "x");
        return wide(profile.folder() / fs::u8path(u8"f \u00e9.zip"));
    }
};

} // namespace

TEST_F(pellar_accessor, command_lines_quote_every_element_and_escape_nothing) {
    const auto command = OSTREL_NAMESPACE::compose_command(L"a b", {L"", L"c\"d\\"});
    EXPECT_EQ(command.line, L"\"a b\" \"\" \"c\"d\\\"");
    EXPECT_EQ(command.elements, (std::vector<std::wstring>{L"a b", L"", L"c\"d\\"}));
    EXPECT_EQ(OSTREL_NAMESPACE::compose_command(L"p", {}).line, L"\"p\"");
}

TEST_F(pellar_accessor, every_operation_runs_its_tool_with_its_arguments) {
    const kiln2::path_t file = fresh_file();
    const std::string path = to_utf8(file.as_string());
    const std::string names[] = {"norvaneremotemon.exe", "pellar.exe", "checkVIRKconsent.exe"};
    const lines_t none;
    const lines_t aggregated{"I aggregated_file=" + path};
    const lines_t crash{"I file=" + path};
    const lines_t code{"I pellar return code=0"};
    const lines_t answered{code[0], "I return: feedback enabled"};
    struct row_t {
        std::function<void()> call;
        lines_t first_lines;
        std::size_t tool;
        std::string run;
        lines_t last_lines; ///< none for a detached start
    };
    const row_t rows[] = {
        {[&] { bridge.send_file(file, false); }, aggregated, 0, "[-t][i][-e][statistic][-m][" + path + "]",
         code},
        {[&] { bridge.send_file(file, true); }, aggregated, 0, "[-t][i][-e][statistic][-f][-m][" + path + "]",
         code},
        {[&] { bridge.send_crash_report(file, false); }, crash, 0, "[-t][i][-e][crash][-m][" + path + "]",
         code},
        {[&] { bridge.send_crash_report(file, true); }, crash, 0, "[-t][i][-e][crash][-f][-m][" + path + "]",
         code},
        {[&] { bridge.send_usage_package(); }, none, 0, "[-t][i][-b]", code},
        {[&] { bridge.is_feedback_enabled(); }, none, 2, "[-g]", answered},
        {[&] { bridge.notify_gui_start(); }, none, 2, "[-w][-s][" + std::to_string(process_id()) + "]", none},
        {[&] { bridge.check_for_updates(L"{1 2}"); },
         {"I product_guid={1 2}"},
         1,
         "[--product_guid][{1 2}][--action][check]",
         none},
        {[&] { bridge.check_for_updates(L""); },
         {"I product_guid="},
         1,
         "[--product_guid][][--action][check]",
         none},
    };
    for (const row_t& row : rows) {
        log.clear();
        fs::remove(profile.folder() / "record");
        row.call();
        const std::string location = tool_path(names[row.tool].c_str());
        lines_t expected = row.first_lines;
        expected.push_back("I tool=" + std::to_string(row.tool));
        expected.push_back(row.last_lines.empty() ? "I sync=0" : "I sync=1");
        expected.push_back("I pellar location=" + location);
        expected.push_back("I pellar command line='" + in_quotes("[" + location + "]" + row.run) + "'");
        expected.insert(expected.end(), row.last_lines.begin(), row.last_lines.end());
        EXPECT_EQ(logged(), expected);
        ASSERT_TRUE(wait_for_runs(1));
        EXPECT_EQ(runs(), lines_t{row.run});
    }
}

TEST_F(pellar_accessor, outcomes_mean_what_each_operation_makes_of_them) {
    const auto remove_tools = [&] { fs::remove_all(tools()); };
    const auto folders_for_tools = [&] {
        remove_tools();
        for (const char* const name : {"norvaneremotemon.exe", "checkVIRKconsent.exe"})
            fs::create_directories(tools() / name);
    };
    struct row_t {
        const char* situation;
        const char* action;
        const char* exit_code;
        std::function<void()> prepare;
        bool file;
        bool usage_package;
        bool feedback;
    };
    const row_t rows[] = {
        {"exit code 0, file gone", "delete", "0", [] {}, true, true, true},
        {"exit code 3, file gone", "delete", "3", [] {}, true, true, false},
        {"exit code 0, file left", "", "0", [] {}, false, true, true},
        {"exit code 3, file left", "", "3", [] {}, false, true, false},
        {"switched off", "delete", "0", [&] { profile.set("OSTREL_DISABLE_PELLAR", "0"); }, false, true,
         true},
        {"switch empty again", "delete", "0", [&] { profile.set("OSTREL_DISABLE_PELLAR", ""); }, true, true,
         true},
        {"no program", "delete", "0", folders_for_tools, false, true, false},
        {"no tool", "delete", "0", remove_tools, false, false, false},
    };
    for (const row_t& row : rows) {
        SCOPED_TRACE(row.situation);
        profile.set("STAND_IN_ACTION", row.action);
        profile.set("STAND_IN_EXIT", row.exit_code);
        row.prepare();
        EXPECT_EQ(bridge.send_file(fresh_file(), false), row.file);
        EXPECT_EQ(bridge.send_crash_report(fresh_file(), false), row.file);
        EXPECT_EQ(bridge.send_usage_package(), row.usage_package);
        EXPECT_EQ(bridge.is_feedback_enabled(), row.feedback);
        EXPECT_EQ(log.count("return: feedback enabled"), row.feedback ? 1 : 0);
        EXPECT_EQ(log.count("return: feedback disabled"), row.feedback ? 0 : 1);
        log.clear();
    }
}

TEST_F(pellar_accessor, a_file_that_is_missing_counts_as_sent_once_the_tool_ran) {
    EXPECT_TRUE(bridge.send_file(wide(profile.folder() / "missing"), false));
    EXPECT_TRUE(bridge.send_file(wide(profile.folder()) + L"/" + std::wstring(4000, L'x'), false));
    EXPECT_EQ(runs().size(), 2U);
}

TEST_F(pellar_accessor, a_switched_off_bridge_starts_nothing_and_returns_0) {
    profile.set("OSTREL_DISABLE_PELLAR", "false");
    EXPECT_EQ(invoke(pellar, {}, true), 0);
    EXPECT_EQ(invoke(pellar, {}, false), 0);
    EXPECT_EQ(logged(), (lines_t{"I tool=1", "I sync=1", "I tool=1", "I sync=0"}));
    EXPECT_TRUE(runs().empty());
}

TEST_F(pellar_accessor, a_tool_that_is_not_found_is_an_error_unless_the_manager_is_expected) {
    lines_t expected{"I tool=3", "I sync=1", "I pellar location="};
    locations.manager_expected = true;
    EXPECT_EQ(invoke(3, {}, true), -1);
    EXPECT_EQ(logged(), expected);
    expected.emplace_back("E Failed to find pellar location");
    locations.manager_expected = false;
    for (settor2::IProductLocations* const service : {&locations, static_cast<locations_t*>(nullptr)}) {
        settor2::IProductLocations::install(service);
        log.clear();
        EXPECT_EQ(invoke(3, {}, true), -1);
        EXPECT_EQ(logged(), expected);
    }
    EXPECT_EQ(invoke(-1, {}, false), -1);
}

TEST_F(pellar_accessor, the_standard_folder_wins_and_the_variable_names_the_folder_itself) {
    const auto location = [&] {
        log.clear();
        invoke(pellar, {}, true);
        return logged().at(2);
    };
    const std::string prefix = "I pellar location=";
    EXPECT_EQ(location(), prefix + tool_path("pellar.exe"));
    install(standard_folder() / "Norvane" / "Pellar", tools() / "pellar.exe");
    EXPECT_EQ(location(), prefix + (standard_folder() / "Norvane" / "Pellar" / "pellar.exe").u8string());
    lose_standard_folder();
    EXPECT_EQ(location(), prefix) << "without a standard folder the variable is not asked";
}

TEST_F(pellar_accessor, the_variable_is_taken_as_it_is) {
    for (const std::string& value :
         {std::string(), profile.folder().u8string(), std::string("no such folder")}) {
        profile.set("PELLAR_DIR", value);
        EXPECT_EQ(invoke(pellar, {}, true), -1) << value;
    }
    EXPECT_TRUE(runs().empty());
}

TEST_F(pellar_accessor, what_cannot_be_started_gives_the_systems_error_number) {
    write_file(tools() / "pellar.exe", std::string("\0no program", 11));
    fs::remove(tools() / "norvaneremotemon.exe");
    fs::create_directories(tools() / "norvaneremotemon.exe");
    for (const int tool : {pellar, remote_monitor}) {
        log.clear();
        const int error = invoke(tool, {}, true);
        EXPECT_GT(error, 0);
        EXPECT_EQ(logged().back(), "E CreateProcessW failed: " + std::to_string(error));
        log.clear();
        EXPECT_EQ(invoke(tool, {}, false), -1);
        EXPECT_EQ(logged().size(), 4U) << "no word about a failed detached start";
    }
}

TEST_F(pellar_accessor, exit_codes_come_back) {
    profile.set("STAND_IN_EXIT", "7");
    EXPECT_EQ(invoke(pellar, {L"a b", L"\u00e9\u4e2d"}, true), 7);
    EXPECT_EQ(runs(), lines_t{"[a b][\u00e9\u4e2d]"});
    EXPECT_EQ(logged().back(), "I pellar return code=7");
    EXPECT_EQ(invoke(pellar, {}, false), 0) << "nobody waits for this one's exit code";
    EXPECT_TRUE(wait_for_runs(2));
}

TEST_F(pellar_accessor, detached_starts_return_while_the_tool_hangs) {
    profile.set("STAND_IN_ACTION", "wait");
    profile.set("STAND_IN_UNTIL", (profile.folder() / "go").u8string());
    bridge.notify_gui_start();
    bridge.check_for_updates(L"g");
    EXPECT_TRUE(wait_for_runs(2));
    write_file(profile.folder() / "go", ""); // a running program's folder may not go before it
}

TEST_F(pellar_accessor, the_check_for_updates_can_be_switched_off) {
    profile.set("NORVANE_DISABLE_UPDATES_CHECK", "0");
    EXPECT_FALSE(bridge.is_check_for_updates_enabled());
    bridge.check_for_updates(L"g");
    EXPECT_EQ(logged(), (lines_t{"I product_guid=g", "I Check for updates disabled."}));
    profile.set("NORVANE_DISABLE_UPDATES_CHECK", "");
    profile.set("OSTREL_DISABLE_PELLAR", "1");
    EXPECT_TRUE(bridge.is_check_for_updates_enabled());
}

TEST_F(pellar_accessor, calls_are_traced_under_their_signatures) {
    profile.set("OSTREL_DISABLE_PELLAR", "1");
    const log_capture_t trace("ostrel.pellar_accessor", 0);
    bridge.send_usage_package();
    const std::string text =
        "std::basic_string<__wchar_t, std::char_traits<__wchar_t>, std::allocator<__wchar_t>>";
    const std::string outer = "bool ostrel_1_5_6::pellar_accessor_impl_t::send_usage_package()";
    const std::string invoked = "int ostrel_1_5_6::pellar_accessor_impl_t::invoke_pellar("
                                "ostrel_1_5_6::pellar_accessor_impl_t::pellar_tool_t, const std::vector<" +
                                text + ", std::allocator<" + text + ">> &, bool) const";
    const std::string allowed = "bool ostrel_1_5_6::pellar_accessor_impl_t::is_pellar_call_allowed() const";
    EXPECT_EQ(plain(trace.lines()),
              (lines_t{"T ENTER: " + outer, "T ENTER: " + invoked, "I tool=0", "I sync=1",
                       "T ENTER: " + allowed, "T Return 'false' - OSTREL_DISABLE_PELLAR is set",
                       "T EXIT:  " + allowed, "T EXIT:  " + invoked, "T EXIT:  " + outer}));
}

TEST_F(pellar_accessor, the_product_id_is_kept_and_copied) {
    EXPECT_EQ(bridge.get_product_id().value, 0U);
    bridge.set_product_id({4000000000U});
    EXPECT_EQ(accessor_t(bridge).get_product_id().value, 4000000000U);
    EXPECT_EQ(accessor_t::DefaultProductGUID, L"{00000000-0000-0000-0000-000000000000}");
}

TEST_F(pellar_accessor, the_machine_id_is_the_first_line_of_the_answer) {
    const std::string long_line(1U << 20U, 'x');
    const std::pair<std::string, std::wstring> rows[] = {
        {"abc\ndef", L"abc"},
        {"abc\r\ndef\r\n", L"abc"},
        {"a\rb", L"a\rb"},
        {"no end", L"no end"},
        {"", L""},
        {"\nsecond", L""},
        {"\u00e9\u4e2d\n", L"\u00e9\u4e2d"},
        {"a\xFF\xC3(b\n", L"a(b"},
        {long_line + "\nrest", std::wstring(long_line.begin(), long_line.end())},
    };
    for (const auto& [bytes, id] : rows) {
        log.clear();
        answer(bytes);
        EXPECT_TRUE(bridge.get_uuid() == id) << bytes.substr(0, 20);
        EXPECT_EQ(log.count("return: uuid = " + to_utf8(id)), 1);
        EXPECT_TRUE(fs::is_empty(temp()));
    }
    const std::string file = (temp() / ("uuid-" + std::to_string(process_id()) + "-1.txt")).u8string();
    EXPECT_EQ(runs().front(), "[-u][" + file + "]");
}

TEST_F(pellar_accessor, without_an_answer_the_machine_id_is_empty) {
    const auto remove_tools = [&] { fs::remove_all(tools()); };
    struct row_t {
        const char* situation;
        std::function<void()> prepare;
        lines_t last_lines;
        std::size_t runs;
    };
    const lines_t gave_up{"I return: empty string"};
    const row_t rows[] = {
        {"a tool that deletes the file", [&] { profile.set("STAND_IN_ACTION", "delete"); }, gave_up, 19},
        {"a tool that fails",
         [&] { profile.set("STAND_IN_ACTION", ""), profile.set("STAND_IN_EXIT", "1"); },
         {"I pellar return code=1", "I return: uuid = "},
         1},
        {"switched off",
         [&] { profile.set("OSTREL_DISABLE_PELLAR", "1"); },
         {"I sync=1", "I return: uuid = "},
         0},
        {"no tool",
         [&] { profile.set("OSTREL_DISABLE_PELLAR", ""), remove_tools(); },
         {"E Failed to find pellar location", "I return: uuid = "},
         0},
        {"no such folder", [&] { locations.temp_dir += L" missing"; }, gave_up, 0},
        {"no folder named",
         [&] { locations.temp_dir.clear(); },
         {"E settor2::IProductLocations::get()->getTempDir() returned empty path", gave_up[0]},
         0},
        {"no service",
         [&] { settor2::IProductLocations::install(nullptr); },
         {"E settor2::IProductLocations::get() is NULL", gave_up[0]},
         0},
    };
    for (const row_t& row : rows) {
        SCOPED_TRACE(row.situation);
        row.prepare();
        log.clear();
        const std::size_t before = runs().size();
        EXPECT_EQ(bridge.get_uuid(), L"");
        const lines_t lines = logged();
        ASSERT_GE(lines.size(), row.last_lines.size());
        EXPECT_EQ(lines_t(lines.end() - static_cast<std::ptrdiff_t>(row.last_lines.size()), lines.end()),
                  row.last_lines);
        EXPECT_EQ(runs().size() - before, row.runs);
        EXPECT_TRUE(fs::is_empty(temp()));
    }
}

TEST_F(pellar_accessor, nineteen_exchange_files_are_tried) {
    answer("abc");
    const std::string prefix = "uuid-" + std::to_string(process_id()) + "-";
    for (int attempt = 1; attempt <= 18; ++attempt)
        write_file(temp() / (prefix + std::to_string(attempt) + ".lock"), "");
    EXPECT_EQ(bridge.get_uuid(), L"abc");
    write_file(temp() / (prefix + "19.lock"), "");
    EXPECT_EQ(bridge.get_uuid(), L"");
    EXPECT_EQ(runs().size(), 1U);
}

TEST_F(pellar_accessor, processes_and_threads_that_ask_at_once_all_get_the_answer) {
    answer("abc \u00e9\n");
    const auto command = OSTREL_NAMESPACE::compose_command(wide(fs::u8path(OSTREL_UUID_ASKER)),
                                                           {locations.temp_dir, L"abc \u00e9"});
    ostrel_platform::run_result_t results[2];
    std::thread first([&] { results[0] = ostrel_platform::run_process(command); });
    results[1] = ostrel_platform::run_process(command);
    first.join();
    for (const auto& result : results) {
        EXPECT_TRUE(result.finished);
        EXPECT_EQ(result.code, 0U) << "threads without the answer";
    }
    EXPECT_EQ(runs().size(), 16U);
    EXPECT_TRUE(fs::is_empty(temp()));
}
