// The concrete statistic object.
#include "statistic_impl_ga/statistic_impl_ga.h"

#include "statistic_impl/deployment.h"
#include "statistic_impl_ga/hit.h"
#include "statistic_impl_ga/log.h"
#include "text/utf.h"
#include "toolkit/quillkit/strings.h"

#include <array>

namespace OSTREL_NAMESPACE {

statistic_impl_ga_t::statistic_impl_ga_t(const std::wstring& application_name,
                                         const std::wstring& application_version, resolver_t resolver)
    : statistic_impl_t(application_name, application_version, resolver),
      m_activity(statistic_dir()),
      m_connector(collection_url().c_str()) {
    const hit_identity_t identity = identify(uuid(), product_id(), product_version());
    m_tracking_id = identity.tracking_id;
    if (m_tracking_id.empty())
        return;
    m_hit_prefix = compose_hit_prefix(identity);
    m_enabled_events = load_enabled_events(event_filter_path());
    m_ready = true;
    if (is_collecting())
        m_connector.prepare();
}

statistic_impl_ga_t::~statistic_impl_ga_t() = default;

void statistic_impl_ga_t::notify_feature_usage_ex(const std::wstring& feature_name, std::uint64_t value) {
    // One test is enough for all log lines of a report: if INFO is off, TRACE is off too.
    if (!analytics_log.is_enabled_for(log_level_t::info))
        return record(feature_name);
    OSTREL_TRACE_CALL(analytics_log,
                      L"void " OSTREL_NAMESPACE_TEXT L"::statistic_impl_ga_t::notify_feature_usage_ex("
                      L"const " OSTREL_WSTRING_TEXT L" &, unsigned __int64)");
    OSTREL_LOG(analytics_log, info, L"feature_name=" << feature_name << L" value=" << value);
    record(feature_name);
}

void statistic_impl_ga_t::notify_feature_usage_utf8(const char* feature_name) {
    if (analytics_log.is_enabled_for(log_level_t::info))
        return notify_feature_usage(quillkit::strings::utf8_to_utf16(feature_name));
    m_activity.add_today();
    if (is_reporting())
        report_utf8(feature_name);
}

void statistic_impl_ga_t::set_statistic_collection_enabled(bool enabled) {
    statistic_impl_t::set_statistic_collection_enabled(enabled);
    if (is_collecting())
        m_connector.prepare();
}

void statistic_impl_ga_t::record(std::wstring_view feature_name) {
    // A day of use counts even while collection is off.
    m_activity.add_today();
    if (is_reporting())
        report(feature_name);
}

void statistic_impl_ga_t::report(std::wstring_view feature_name) {
    if (const auto route = route_feature(feature_name, m_enabled_events))
        m_connector.send(compose_event_hit(m_hit_prefix, *route, m_activity.is_new_regular_user()));
}

void statistic_impl_ga_t::report_utf8(std::string_view feature_name) {
    // Short names need no heap memory. The array stays uninitialised, which is faster.
    std::array<wchar_t, 64> units; // NOLINT(cppcoreguidelines-pro-type-member-init)
    if (feature_name.size() > units.size())
        return report(quillkit::strings::utf8_to_utf16(feature_name));
    const wchar_t* const end = ostrel_platform::to_wide(feature_name, units.data());
    report({units.data(), static_cast<std::size_t>(end - units.data())});
}

void statistic_impl_ga_t::reserved_slot_5() {}
void statistic_impl_ga_t::reserved_slot_6() {}
void statistic_impl_ga_t::reserved_slot_7() {}

bool statistic_impl_ga_t::flush() {
    return true;
}

} // namespace OSTREL_NAMESPACE
