// The days of use: the days on which the product was used. They decide whether the user is a regular user.
#pragma once

#include "kiln2/path.h"
#include "ostrel/version.h"
#include "platform/clock.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace OSTREL_NAMESPACE {

/// One day of use, a UTC calendar date.
struct active_date_t {
    std::int32_t year = 0;
    std::int32_t month = 0; ///< from 1
    std::int32_t day = 0;   ///< from 1
};

bool operator==(const active_date_t& left, const active_date_t& right);
bool operator<(const active_date_t& left, const active_date_t& right);

/// Whether @p day must be added to the recorded days. Compares @p day with the last recorded day only. If the
/// clock was set back, a day can therefore be in the list twice.
bool is_another_day(const std::vector<active_date_t>& dates, const active_date_t& day);

/// Whether the user is a regular user: @p count is at least 4, and the first day of use is less than one
/// year before @p today.
bool is_new_regular_user(std::size_t count, const active_date_t& first, const active_date_t& today);

/// Converts the number of days since 1970-01-01 to a calendar date.
active_date_t date_of(std::int64_t day_number);

/// The path of the file with the days of use in a settings folder.
std::wstring active_dates_file(const kiln2::path_t& folder);

/// Reads the days from a file and keeps their order. Items that are not dates are ignored. Takes no lock,
/// because the file is always replaced as a whole.
/// @return nullopt if the file is missing or malformed
std::optional<std::vector<active_date_t>> stored_active_dates(const std::wstring& path);

/// Returns the current UTC day as the number of days since 1970-01-01.
using day_clock_t = std::int64_t (*)();

/// The days of use. The constructor reads them from the file. If a day was added, the destructor writes them.
///
/// Thread-safe. If today is already recorded, add_today reads the clock and one atomic variable. Only the
/// first call of a day takes the mutex. The number of days is not limited.
class last_active_dates_t {
public:
    /// Loads the file in @p folder. If another process holds the lock of the file, waits at most one second.
    /// If the lock is still held then, the object starts without days. If @p folder is empty, the days stay
    /// in memory only.
    explicit last_active_dates_t(const kiln2::path_t& folder,
                                 day_clock_t clock = &ostrel_platform::utc_day_number);
    /// Calls save and ignores a failure.
    ~last_active_dates_t();
    last_active_dates_t(const last_active_dates_t&) = delete;
    last_active_dates_t& operator=(const last_active_dates_t&) = delete;

    void add_today();

    bool is_new_regular_user() const;

    /// Writes the file if a day was added. Tries the lock of the file once and does not wait, because the
    /// process may be closing.
    /// @return whether the file was written
    bool save() const;

    /// The current UTC date of the system clock.
    static active_date_t today();

private:
    bool load();
    void add(std::int64_t day);
    void append(const active_date_t& date);

    const std::wstring m_path;
    const day_clock_t m_clock;
    mutable std::mutex m_mutex;
    std::vector<active_date_t> m_dates; ///< guarded by m_mutex
    bool m_dirty = false;               ///< guarded by m_mutex
    active_date_t m_first;              ///< written once, before m_count becomes 1
    std::atomic<std::size_t> m_count{0};
    std::atomic<std::int64_t> m_last_day; ///< the last day that add_today recorded
};

} // namespace OSTREL_NAMESPACE
