// The days on which the product was used, to tell a regular user of the current year from others.
#pragma once

#include "kiln2/path.h"
#include "ostrel/version.h"

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

/// Whether @p day has to be added to the days recorded so far. Only the last one is looked at: after a clock
/// went back, a day stands in the list twice.
bool is_another_day(const std::vector<active_date_t>& dates, const active_date_t& day);

/// At least four days of use, the first strictly later than @p today with its year reduced by one.
bool is_new_regular_user(std::size_t count, const active_date_t& first, const active_date_t& today);

/// The file of the days of use in a folder of settings.
std::wstring active_dates_file(const kiln2::path_t& folder);

/// The days in a file, oldest first as they were written; an item that is no date is left out. Nothing when
/// the file is missing or malformed. Only reads, and takes no lock: the file is replaced whole.
std::optional<std::vector<active_date_t>> stored_active_dates(const std::wstring& path);

/// The store of days of use: read when it is made, written when it goes and something changed.
///
/// Any thread may add and ask. A day that is recorded already costs a clock reading and one atomic load; only
/// the first report of a day takes the lock. The number of days is not limited.
class last_active_dates_t {
public:
    /// Loads the file in @p folder. Waits up to a second for a process that holds its lock, and starts empty
    /// when that does not let go. An empty folder keeps the days in memory only.
    explicit last_active_dates_t(const kiln2::path_t& folder);
    /// Saves.
    ~last_active_dates_t();
    last_active_dates_t(const last_active_dates_t&) = delete;
    last_active_dates_t& operator=(const last_active_dates_t&) = delete;

    void add_today();

    bool is_new_regular_user() const;

    /// Writes the file if a day was added. Tries its lock once: a closing process must not wait.
    /// @return whether it was written
    bool save() const;

    /// Today's UTC date.
    static active_date_t today();

private:
    bool load();
    void append(const active_date_t& date);

    const std::wstring m_path;
    mutable std::mutex m_mutex;
    std::vector<active_date_t> m_dates; ///< guarded by m_mutex
    bool m_dirty = false;               ///< guarded by m_mutex
    active_date_t m_first;              ///< written once, before m_count leaves zero
    std::atomic<std::size_t> m_count{0};
    std::atomic<std::int64_t> m_last_day; ///< day number known to be recorded last
    /// The last answer and its day: twice the day number, plus one for yes.
    mutable std::atomic<std::int64_t> m_answer;
};

} // namespace OSTREL_NAMESPACE
