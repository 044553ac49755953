// The policy half of a statistic object: its construction, its machine id and the user's answer.
#include "statistic_impl/statistic_impl.h"

#include "statistic_impl/consent.h"
#include "statistic_impl/deployment.h"
#include "statistic_impl/log.h"
#include "statistic_impl/machine_id.h"
#include "statistic_impl/settings_paths.h"
#include "toolkit/kiln2/files.h"

namespace OSTREL_NAMESPACE {

statistic_impl_t::statistic_impl_t(const std::wstring& product_id, const std::wstring& product_version)
    : m_product_id(product_id), m_product_version(product_version), m_corporate_domain(corporate_domain()) {
    if (!init_settings_paths())
        return;
    load_uuid();
    m_enabled.store(is_enabled(), std::memory_order_release);
}

bool statistic_impl_t::init_settings_paths() {
    const auto paths = settings_of(m_product_id);
    if (!paths)
        return false;
    kiln2::create_folders(paths->company_dir);
    m_virk_path = paths->virk.as_string();
    m_statistic_dir = paths->statistic_dir;
    kiln2::create_folders(paths->statistic_dir);
    m_uuid_path = paths->uuid.as_string();
    return true;
}

std::wstring statistic_impl_t::load_uuid() {
    OSTREL_TRACE_CALL(policy_log,
                      OSTREL_WSTRING_TEXT L" " OSTREL_NAMESPACE_TEXT L"::statistic_impl_t::load_uuid()");
    m_uuid = forced_uuid();
    if (m_uuid.empty())
        m_uuid = load_or_create_uuid(m_uuid_path);
    return m_uuid;
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
    switch (get_env_vars_state()) {
    case evsEnabledForced:
    case evsEnabledUnconditionally:
        return vsEnabled;
    case evsDisabled:
        return vsDisabled;
    case evsEnabled:
        break;
    }
    return read_consent(m_virk_path);
}

void statistic_impl_t::set_statistic_collection_enabled(bool enabled) {
    write_consent(m_virk_path, enabled);
    m_enabled.store(is_enabled(), std::memory_order_release);
}

} // namespace OSTREL_NAMESPACE
