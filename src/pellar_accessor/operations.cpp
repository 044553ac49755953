// The bridge's operations: the command line of each, and the meaning of its result.
#include "ostrel/pellar_accessor.h"

#include "pellar_accessor/disabling_switch.h"
#include "pellar_accessor/log.h"
#include "pellar_accessor/run.h"
#include "platform/folders.h"
#include "platform/process.h"

namespace OSTREL_NAMESPACE {

namespace {

std::vector<std::wstring> upload_arguments(const wchar_t* kind, const kiln2::path_t& file, bool force) {
    std::vector<std::wstring> arguments{L"-t", L"i", L"-e", kind};
    if (force)
        arguments.emplace_back(L"-f");
    arguments.emplace_back(L"-m");
    arguments.push_back(file.as_string());
    return arguments;
}

// The tool deletes a file after uploading it. A deleted file is a better sign of success than the exit code.
bool is_uploaded(int result, const kiln2::path_t& file) {
    return result != not_started && !kiln2::path_t::exists(file.as_string());
}

} // namespace

const std::wstring pellar_accessor_t::DefaultProductGUID = L"{00000000-0000-0000-0000-000000000000}";

pellar_accessor_t::~pellar_accessor_t() = default;

pellar_accessor_impl_t::pellar_accessor_impl_t() = default;
pellar_accessor_impl_t::pellar_accessor_impl_t(const pellar_accessor_impl_t& other) = default;
pellar_accessor_impl_t& pellar_accessor_impl_t::operator=(const pellar_accessor_impl_t& other) = default;
pellar_accessor_impl_t::~pellar_accessor_impl_t() = default;

bool pellar_accessor_impl_t::send_file(const kiln2::path_t& file, bool force) {
    OSTREL_TRACE_CALL(bridge_log, L"bool " OSTREL_BRIDGE_TEXT L"send_file(const kiln2::path_t &, bool)");
    OSTREL_LOG(bridge_log, info, L"aggregated_file=" << file.as_string());
    return is_uploaded(invoke_pellar(tool_remote_monitor, upload_arguments(L"statistic", file, force), true),
                       file);
}

// Every result except not_started counts as sent. If the bridge is switched off, the result is 0, and hosts
// rely on the return value true.
bool pellar_accessor_impl_t::send_usage_package() {
    OSTREL_TRACE_CALL(bridge_log, L"bool " OSTREL_BRIDGE_TEXT L"send_usage_package()");
    return invoke_pellar(tool_remote_monitor, {L"-t", L"i", L"-b"}, true) != not_started;
}

bool pellar_accessor_impl_t::send_crash_report(const kiln2::path_t& file, bool force) {
    OSTREL_TRACE_CALL(bridge_log,
                      L"bool " OSTREL_BRIDGE_TEXT L"send_crash_report(const kiln2::path_t &, bool)");
    OSTREL_LOG(bridge_log, info, L"file=" << file.as_string());
    return is_uploaded(invoke_pellar(tool_remote_monitor, upload_arguments(L"crash", file, force), true),
                       file);
}

bool pellar_accessor_impl_t::is_feedback_enabled() const {
    OSTREL_TRACE_CALL(bridge_log, L"bool " OSTREL_BRIDGE_TEXT L"is_feedback_enabled() const");
    if (invoke_pellar(tool_check_virk_consent, {L"-g"}, true) == 0) {
        OSTREL_LOG(bridge_log, info, L"return: feedback enabled");
        return true;
    }
    OSTREL_LOG(bridge_log, info, L"return: feedback disabled");
    return false;
}

void pellar_accessor_impl_t::notify_gui_start() {
    OSTREL_TRACE_CALL(bridge_log, L"void " OSTREL_BRIDGE_TEXT L"notify_gui_start()");
    invoke_pellar(tool_check_virk_consent, {L"-w", L"-s", std::to_wstring(ostrel_platform::process_id())},
                  false);
}

void pellar_accessor_impl_t::check_for_updates(const std::wstring& product_guid) {
    OSTREL_TRACE_CALL(bridge_log,
                      L"void " OSTREL_BRIDGE_TEXT L"check_for_updates(const " OSTREL_WSTRING_TEXT L" &)");
    OSTREL_LOG(bridge_log, info, L"product_guid=" << product_guid);
    if (is_check_for_updates_enabled())
        invoke_pellar(tool_pellar, {L"--product_guid", product_guid, L"--action", L"check"}, false);
    else
        OSTREL_LOG(bridge_log, info, L"Check for updates disabled.");
}

// NOLINTBEGIN(readability-convert-member-functions-to-static): hosts link to these members

bool pellar_accessor_impl_t::is_pellar_call_allowed() const {
    return is_call_allowed();
}

kiln2::path_t pellar_accessor_impl_t::get_pellar_location(pellar_tool_t tool) const {
    return locate_tool(tool, &ostrel_platform::common_program_files_folder);
}

int pellar_accessor_impl_t::invoke_pellar(pellar_tool_t tool, const std::vector<std::wstring>& arguments,
                                          bool sync) const {
    return run_tool(tool, arguments, sync, &ostrel_platform::common_program_files_folder);
}

bool pellar_accessor_impl_t::is_check_for_updates_enabled() const {
    OSTREL_TRACE_CALL(bridge_log, L"bool " OSTREL_BRIDGE_TEXT L"is_check_for_updates_enabled() const");
    return is_allowed_by(L"NORVANE_DISABLE_UPDATES_CHECK");
}

// NOLINTEND(readability-convert-member-functions-to-static)

void pellar_accessor_impl_t::set_product_id(const product_id_t& product_id) {
    m_product_id = product_id;
}

const product_id_t& pellar_accessor_impl_t::get_product_id() const {
    return m_product_id;
}

} // namespace OSTREL_NAMESPACE
