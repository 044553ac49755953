// The environment variables that switch off operations of the bridge to the software manager.
#include "pellar_accessor/disabling_switch.h"

#include "pellar_accessor/log.h"
#include "platform/environment.h"

namespace OSTREL_NAMESPACE {

bool is_allowed_by(const std::wstring& variable) {
    if (!ostrel_platform::is_variable_set(variable)) {
        OSTREL_LOG(bridge_log, trace, L"Return 'true'");
        return true;
    }
    OSTREL_LOG(bridge_log, trace, L"Return 'false' - " << variable << L" is set");
    return false;
}

} // namespace OSTREL_NAMESPACE
