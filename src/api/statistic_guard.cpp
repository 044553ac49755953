// The guard that reports the start and the end of an activity.
#include "ostrel/statistic.h"

#include <utility>

namespace OSTREL_NAMESPACE {

statistic_guard_t::statistic_guard_t(const std::wstring& name, const std::wstring& begin_suffix,
                                     const std::wstring& end_suffix, boost::shared_ptr<statistic_t> statistic)
    : m_name(name),
      m_begin_suffix(begin_suffix),
      m_end_suffix(end_suffix),
      m_statistic(std::move(statistic)) {
    m_statistic->notify_feature_usage(m_name + m_begin_suffix);
    m_statistic->flush();
}

// A copy reports no begin event, because the activity has already begun. Every destructor, also that of a
// copy, reports the end event.
statistic_guard_t::statistic_guard_t(const statistic_guard_t& other) = default;
statistic_guard_t& statistic_guard_t::operator=(const statistic_guard_t& other) = default;

statistic_guard_t::~statistic_guard_t() noexcept(false) {
    m_statistic->notify_feature_usage(m_name + m_end_suffix);
    m_statistic->flush();
}

} // namespace OSTREL_NAMESPACE
