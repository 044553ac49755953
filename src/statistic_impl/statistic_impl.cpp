// The base class of a statistic object: collection policy and local state.
#include "statistic_impl/statistic_impl.h"

#include "foundations/folders.h"
#include "platform/environment.h"
#include "statistic_impl/consent.h"
#include "statistic_impl/decision.h"
#include "statistic_impl/deployment.h"
#include "statistic_impl/environment_switches.h"
#include "statistic_impl/log.h"
#include "statistic_impl/machine_id.h"
#include "statistic_impl/settings_paths.h"

namespace OSTREL_NAMESPACE {

statistic_impl_t::statistic_impl_t(const std::wstring& product_id, const std::wstring& product_version,
                                   resolver_t resolver)
    : m_product_id(product_id),
      m_product_version(product_version),
      m_corporate_domain(corporate_domain()),
      m_resolver(resolver) {
    if (!init_settings_paths())
        return;
    load_uuid();
    m_enabled.store(is_enabled(), std::memory_order_release);
}

bool statistic_impl_t::init_settings_paths() {
    const auto paths = settings_of(m_product_id);
    if (!paths)
        return false;
    for (const kiln2::path_t& folder : paths->folders())
        create_folders(folder);
    m_virk_path = paths->virk.as_string();
    m_statistic_dir = paths->statistic_dir;
    m_uuid_path = paths->uuid.as_string();
    return true;
}

std::wstring statistic_impl_t::load_uuid() {
    OSTREL_TRACE_CALL(policy_log,
                      OSTREL_WSTRING_TEXT L" " OSTREL_NAMESPACE_TEXT L"::statistic_impl_t::load_uuid()");
    m_uuid = find_or_create_uuid(m_uuid_path);
    return m_uuid;
}

statistic_impl_t::env_vars_state_t statistic_impl_t::get_env_vars_state() {
    OSTREL_TRACE_CALL(
        policy_log,
        OSTREL_NAMESPACE_TEXT L"::statistic_impl_t::env_vars_state_"
                              L"t " OSTREL_NAMESPACE_TEXT L"::statistic_impl_t::get_env_vars_state()");
    if (const switch_t* const found = deciding_switch()) {
        const wchar_t* const name = found->state == evsDisabled ? L"evsDisabled" : L"evsEnabledForced";
        OSTREL_LOG(policy_log, trace, L"Return '" << name << L"' - " << found->variable << L" is set");
        return found->state;
    }
    const env_vars_state_t state = state_without_switches();
    OSTREL_LOG(policy_log, trace,
               (state == evsEnabled ? L"Return 'evsEnabled'" : L"Return 'evsEnabledUnconditionally'"));
    return state;
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): callers use an object
bool statistic_impl_t::is_send_files_disabled() const {
    OSTREL_TRACE_CALL(policy_log,
                      L"bool " OSTREL_NAMESPACE_TEXT L"::statistic_impl_t::is_send_files_disabled() const");
    if (ostrel_platform::is_variable_set(L"NORVANE_DONOTSEND_FEEDBACK")) {
        OSTREL_LOG(policy_log, trace, L"Return 'true' - NORVANE_DONOTSEND_FEEDBACK is enabled");
        return true;
    }
    OSTREL_LOG(policy_log, trace, L"Return 'false'");
    return false;
}

bool statistic_impl_t::is_enabled() const {
    OSTREL_TRACE_CALL(policy_log, L"bool " OSTREL_NAMESPACE_TEXT L"::statistic_impl_t::is_enabled() const");
    const facts_t facts{!m_uuid.empty(), &get_env_vars_state,
                        [this] { return check_excluded_network(m_corporate_domain, m_resolver); },
                        [this] { return get_consent_state(); }};
    const verdict_t verdict = decide(facts).verdict;
    log_verdict(verdict);
    return allows(verdict);
}

void statistic_impl_t::reserved_slot_1() {}

std::wstring statistic_impl_t::get_uuid() const {
    return m_uuid;
}

void statistic_impl_t::notify_feature_usage(const std::wstring& feature_name) {
    notify_feature_usage_ex(feature_name, 1);
}

bool statistic_impl_t::reserved_slot_9() {
    return false;
}

virk_state_t statistic_impl_t::get_consent_state() const {
    return consent_with(get_env_vars_state(), m_virk_path);
}

void statistic_impl_t::set_statistic_collection_enabled(bool enabled) {
    write_consent(m_virk_path, enabled);
    m_enabled.store(is_enabled(), std::memory_order_release);
}

} // namespace OSTREL_NAMESPACE
