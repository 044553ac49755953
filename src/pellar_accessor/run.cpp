// Runs one of the software manager's tools.
#include "pellar_accessor/run.h"

#include "pellar_accessor/disabling_switch.h"
#include "pellar_accessor/log.h"
#include "pellar_accessor/quote.h"
#include "pellar_accessor/run.h"
#include "settor2/product_locations.h"

namespace OSTREL_NAMESPACE {

namespace {

bool is_manager_expected() {
    const settor2::IProductLocations* const locations = settor2::IProductLocations::get();
    return locations != nullptr && locations->isManagerExpected();
}

int run_and_wait(const ostrel_platform::command_t& command) {
    const ostrel_platform::run_result_t result = ostrel_platform::run_process(command);
    if (result.finished)
        OSTREL_LOG(bridge_log, info, L"pellar return code=" << result.code);
    else
        // The text is the same on every system, so that one search finds it in all logs.
        OSTREL_LOG_ERROR(bridge_log, L"CreateProcessW failed: " << result.code);
    return static_cast<int>(result.code);
}

} // namespace

bool is_call_allowed() {
    OSTREL_TRACE_CALL(bridge_log, L"bool " OSTREL_BRIDGE_TEXT L"is_pellar_call_allowed() const");
    return is_allowed_by(L"OSTREL_DISABLE_PELLAR");
}

int run_tool(pellar_accessor_impl_t::pellar_tool_t tool, const std::vector<std::wstring>& arguments,
             bool sync, program_files_t program_files) {
    OSTREL_TRACE_CALL(bridge_log, L"int " OSTREL_BRIDGE_TEXT L"invoke_pellar(" OSTREL_RUN_TEXT L") const");
    OSTREL_LOG(bridge_log, info, L"tool=" << static_cast<int>(tool));
    OSTREL_LOG(bridge_log, info, L"sync=" << sync);
    if (!is_call_allowed())
        return 0;
    // Logs no error, because calls in remote sessions are normal.
    if (ostrel_platform::is_remote_session())
        return not_started;
    const kiln2::path_t location = locate_tool(tool, program_files);
    OSTREL_LOG(bridge_log, info, L"pellar location=" << location.as_string());
    if (!kiln2::path_t::exists(location.as_string())) {
        if (!is_manager_expected())
            OSTREL_LOG_ERROR(bridge_log, L"Failed to find pellar location");
        return not_started;
    }
    const ostrel_platform::command_t command = compose_command(location.as_string(), arguments);
    OSTREL_LOG(bridge_log, info, L"pellar command line='" << command.line << L"'");
    if (sync)
        return run_and_wait(command);
    return ostrel_platform::start_detached(command) ? 0 : not_started;
}

} // namespace OSTREL_NAMESPACE
