// The concrete statistic object: turns notifications into hits and hands them over for delivery.
#pragma once

#include "http_connector/http_connector.h"
#include "statistic_impl/event_filter.h"
#include "statistic_impl/last_active_dates.h"
#include "statistic_impl/statistic_impl.h"
#include "statistic_impl_ga/feature_route.h"

#include <string>
#include <string_view>

namespace OSTREL_NAMESPACE {

/// What the factory and the C interface make. Prefix and filter are settled in the constructor and only read
/// afterwards, so that notifications need no lock but the queue's.
class statistic_impl_ga_t final : public statistic_impl_t {
public:
    statistic_impl_ga_t(const std::wstring& application_name, const std::wstring& application_version,
                        resolver_t resolver = &ostrel_platform::resolve_host);
    /// Waits for the hits queued so far, then saves the days of use.
    ~statistic_impl_ga_t() override;

    void notify_feature_usage_ex(const std::wstring& feature_name, std::uint64_t value) override;
    /// Like notify_feature_usage, for a name in UTF-8, which it converts only if the name is needed.
    void notify_feature_usage_utf8(const char* feature_name);
    void set_statistic_collection_enabled(bool enabled) override;
    void reserved_slot_5() override;
    void reserved_slot_6() override;
    void reserved_slot_7() override;
    bool flush() override;

private:
    void record(std::wstring_view feature_name);
    bool is_reporting() const { return is_collecting() && m_ready; }
    void report(std::wstring_view feature_name);
    void report_utf8(std::string_view feature_name);

    last_active_dates_t m_activity;
    http_connector_t m_connector;
    std::string m_tracking_id;
    std::string m_hit_prefix;
    event_filter_t m_enabled_events;
    bool m_ready = false; ///< written by the constructor alone
};

} // namespace OSTREL_NAMESPACE
