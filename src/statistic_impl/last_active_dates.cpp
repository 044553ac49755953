// Records the days on which the product was used.
#include "statistic_impl/last_active_dates.h"

#include "ostrel/filelock.h"
#include "statistic_impl/bag_file.h"
#include "toolkit/kiln2/variant_bag.h"

#include <boost/date_time/gregorian/gregorian_types.hpp>

#include <chrono>
#include <limits>
#include <optional>
#include <thread>
#include <tuple>

namespace OSTREL_NAMESPACE {

namespace {

constexpr std::size_t min_days_of_regular_user = 4;
constexpr int lock_attempts = 5;
constexpr std::chrono::milliseconds lock_pause{200};
constexpr std::int64_t no_day = std::numeric_limits<std::int64_t>::min();

bool lock_with_retries(filelock_t& lock) {
    for (int attempt = 0; attempt < lock_attempts; ++attempt) {
        if (lock.lock())
            return true;
        std::this_thread::sleep_for(lock_pause);
    }
    return false;
}

std::optional<active_date_t> to_date(const kiln2::variant_bag_t& item) {
    const auto* const year = std::get_if<std::int32_t>(&item.get(L"Y"));
    const auto* const month = std::get_if<std::int32_t>(&item.get(L"M"));
    const auto* const day = std::get_if<std::int32_t>(&item.get(L"D"));
    if (year == nullptr || month == nullptr || day == nullptr)
        return std::nullopt;
    return active_date_t{*year, *month, *day};
}

kiln2::variant_bag_t to_bag(const std::vector<active_date_t>& dates) {
    kiln2::variant_bag_t bag;
    for (const active_date_t& date : dates) {
        kiln2::variant_bag_t& item = bag.add_bag(L"item");
        item.put(L"Y", date.year);
        item.put(L"M", date.month);
        item.put(L"D", date.day);
    }
    return bag;
}

} // namespace

bool operator==(const active_date_t& left, const active_date_t& right) {
    return std::tie(left.year, left.month, left.day) == std::tie(right.year, right.month, right.day);
}

bool operator<(const active_date_t& left, const active_date_t& right) {
    return std::tie(left.year, left.month, left.day) < std::tie(right.year, right.month, right.day);
}

bool is_another_day(const std::vector<active_date_t>& dates, const active_date_t& day) {
    return dates.empty() || !(dates.back() == day);
}

bool is_new_regular_user(std::size_t count, const active_date_t& first, const active_date_t& today) {
    // On 29 February, the compared date does not exist: 29 February of the previous year. The order is still
    // right, because that date is later than 28 February and earlier than 1 March.
    return count >= min_days_of_regular_user && active_date_t{today.year - 1, today.month, today.day} < first;
}

active_date_t date_of(std::int64_t day_number) {
    const auto date =
        boost::gregorian::date(1970, 1, 1) + boost::gregorian::days(static_cast<long>(day_number));
    const auto fields = date.year_month_day();
    return {fields.year, fields.month, fields.day};
}

std::wstring active_dates_file(const kiln2::path_t& folder) {
    if (folder.is_empty())
        return {};
    return kiln2::path_t(folder).append(std::wstring(L"last_active_dates.xml")).as_string();
}

std::optional<std::vector<active_date_t>> stored_active_dates(const std::wstring& path) {
    kiln2::variant_bag_t bag;
    if (kiln2::load_variant_bag2(bag, path, bag_root, false) != 1)
        return std::nullopt;
    std::vector<active_date_t> dates;
    for (const auto& [name, item] : bag.bags())
        if (const auto date = to_date(item); name == "item" && date)
            dates.push_back(*date);
    return dates;
}

last_active_dates_t::last_active_dates_t(const kiln2::path_t& folder, day_clock_t clock)
    : m_path(active_dates_file(folder)), m_clock(clock), m_last_day(no_day) {
    load();
}

last_active_dates_t::~last_active_dates_t() {
    try {
        save();
    } catch (...) { // NOLINT(bugprone-empty-catch): a failure to save must not terminate the host
    }
}

active_date_t last_active_dates_t::today() {
    return date_of(ostrel_platform::utc_day_number());
}

bool last_active_dates_t::load() {
    if (m_path.empty())
        return false;
    filelock_t lock(m_path);
    if (!lock_with_retries(lock))
        return false;
    const auto stored = stored_active_dates(m_path);
    if (!stored)
        return false;
    for (const active_date_t& date : *stored)
        append(date);
    return true;
}

void last_active_dates_t::append(const active_date_t& date) {
    m_dates.push_back(date);
    if (m_dates.size() == 1)
        m_first = date;
    m_count.store(m_dates.size(), std::memory_order_release);
}

void last_active_dates_t::add_today() {
    const std::int64_t day = m_clock();
    if (m_last_day.load(std::memory_order_acquire) != day)
        add(day);
}

void last_active_dates_t::add(std::int64_t day) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const active_date_t date = date_of(day);
    if (is_another_day(m_dates, date)) {
        append(date);
        m_dirty = true;
    }
    m_last_day.store(day, std::memory_order_release);
}

bool last_active_dates_t::is_new_regular_user() const {
    const std::size_t count = m_count.load(std::memory_order_acquire);
    // Converting a day number to a date is slow, so the count is tested first.
    return count >= min_days_of_regular_user &&
           OSTREL_NAMESPACE::is_new_regular_user(count, m_first, date_of(m_clock()));
}

bool last_active_dates_t::save() const {
    // Does not wait: in a forked child, the thread that held the mutex at the fork may not exist.
    const std::unique_lock<std::mutex> guard(m_mutex, std::try_to_lock);
    if (!guard.owns_lock() || m_path.empty() || !m_dirty || m_dates.empty())
        return false;
    filelock_t lock(m_path);
    return lock.lock() && kiln2::save_variant_bag2(to_bag(m_dates), m_path, bag_root);
}

} // namespace OSTREL_NAMESPACE
