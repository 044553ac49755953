// The days on which the product was used, to tell a regular user of the current year from others.
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

/// Whether @p day must be added to the recorded days. Compares it with the last one only: if the clock was
/// set back, a day is in the list twice.
bool is_another_day(const std::vector<active_date_t>& dates, const active_date_t& day);

/// At least four days of use, the first strictly later than @p today with its year reduced by one.
bool is_new_regular_user(std::size_t count, const active_date_t& first, const active_date_t& today);

/// The UTC calendar date of a number of days since 1970-01-01.
active_date_t date_of(std::int64_t day_number);

/// The file of the days of use in a folder of settings.
std::wstring active_dates_file(const kiln2::path_t& folder);

/// The days in a file, in the file's order; an item that is not a date is left out. Nothing if the file is
/// missing or malformed. Only reads. Takes no lock, because the file is replaced as a whole.
std::optional<std::vector<active_date_t>> stored_active_dates(const std::wstring& path);

/// Tells the current UTC day, as the number of days since 1970-01-01.
using day_clock_t = std::int64_t (*)();

/// The days of use: read from the file by the constructor and, if a day was added, written by the destructor.
///
/// Thread-safe. A report on a day that is already recorded costs a clock reading and one atomic load. Only
/// the first report of a day takes the lock. The number of days is not limited.
class last_active_dates_t {
public:
    /// Loads the file in @p folder. Waits up to a second for a process that holds its lock, and starts empty
    /// if the lock stays taken. If @p folder is empty, the days are kept in memory only.
    explicit last_active_dates_t(const kiln2::path_t& folder,
                                 day_clock_t clock = &ostrel_platform::utc_day_number);
    /// Calls save.
    ~last_active_dates_t();
    last_active_dates_t(const last_active_dates_t&) = delete;
    last_active_dates_t& operator=(const last_active_dates_t&) = delete;

    void add_today();

    bool is_new_regular_user() const;

    /// Writes the file if a day was added. Tries the file's lock once, because a closing process must not
    /// wait.
    /// @return whether the file was written
    bool save() const;

    /// Today's UTC date by the system's clock.
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
    active_date_t m_first;              ///< written once, before m_count leaves zero
    std::atomic<std::size_t> m_count{0};
    std::atomic<std::int64_t> m_last_day; ///< the day that add_today recorded last
};

} // namespace OSTREL_NAMESPACE
