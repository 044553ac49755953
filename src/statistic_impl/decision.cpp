// The decision whether this object may collect and send.
#include "statistic_impl/log.h"
#include "statistic_impl/network_check.h"
#include "statistic_impl/statistic_impl.h"

namespace OSTREL_NAMESPACE {

namespace {

bool is_network_allowed(const std::string& corporate_domain) {
    switch (check_excluded_network(corporate_domain)) {
    case ncExcluded:
        OSTREL_LOG(policy_log, trace, L"Return 'false' - excluded network");
        return false;
    case ncError:
        OSTREL_LOG(policy_log, trace, L"Return 'false' - network error");
        return false;
    case ncNotExcluded:
        break;
    }
    return true;
}

} // namespace

bool statistic_impl_t::is_enabled() const {
    OSTREL_TRACE_CALL(policy_log, L"bool " OSTREL_NAMESPACE_TEXT L"::statistic_impl_t::is_enabled() const");
    if (m_uuid.empty()) {
        OSTREL_LOG(policy_log, info, L"Return 'false' - empty uuid. reporting disabled");
        return false;
    }
    switch (get_env_vars_state()) {
    case evsDisabled:
        OSTREL_LOG(policy_log, trace, L"Return 'false' - statistic disabled due to environment variables");
        return false;
    // The forced states skip network and consent: forcing works inside the corporate network too.
    case evsEnabledForced:
        OSTREL_LOG(policy_log, trace,
                   L"Return 'true' - statistic forcefully enabled by environment variables");
        return true;
    case evsEnabledUnconditionally:
        OSTREL_LOG(policy_log, trace,
                   L"Return 'true' - statistic forcefully enabled by build time "
                   L"ENABLE_UNCONDITIONAL_DELIVERY option");
        return true;
    case evsEnabled:
        break;
    }
    return is_network_allowed(m_corporate_domain) && get_consent_state() == vsEnabled;
}

} // namespace OSTREL_NAMESPACE
