// The concrete statistic object: converts reports to hits and queues them.
#pragma once

#include "http_connector/http_connector.h"
#include "statistic_impl/event_filter.h"
#include "statistic_impl/last_active_dates.h"
#include "statistic_impl/statistic_impl.h"
#include "statistic_impl_ga/feature_route.h"

#include <string>
#include <string_view>

namespace OSTREL_NAMESPACE {

/// The factory and the C interface create objects of this class. The constructor sets the hit prefix and the
/// event filter, which never change afterwards. A report therefore takes only the queue's lock and, once a
/// day, the mutex of the days of use.
class statistic_impl_ga_t final : public statistic_impl_t {
public:
    statistic_impl_ga_t(const std::wstring& application_name, const std::wstring& application_version,
                        resolver_t resolver = &ostrel_platform::resolve_host);
    /// Waits for the queued hits, then saves the days of use.
    ~statistic_impl_ga_t() override;

    void notify_feature_usage_ex(const std::wstring& feature_name, std::uint64_t value) override;
    /// Like notify_feature_usage, for a UTF-8 name. Converts the name only if it is logged or reported.
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
    bool m_ready = false; ///< written only by the constructor
};

} // namespace OSTREL_NAMESPACE
