// The system's clock and calendar, always in UTC.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

namespace ostrel_platform {

/// The current time in calendar fields, without fractions of a second.
std::tm utc_now();

/// The current day in days since 1970-01-01. Faster than utc_now.
std::int64_t utc_day_number();

/// Converts UTC calendar fields to seconds since 1970-01-01T00:00:00Z. All systems convert the years 1970 to
/// 3000. Fields out of range carry into the next larger unit, and @p fields is normalised.
/// @return a negative number for earlier times and for fields that the system cannot convert
std::int64_t utc_seconds(std::tm& fields);

/// The last-write time of a file; nullopt if the file cannot be opened for reading.
std::optional<std::tm> last_write_time(const std::wstring& path);

} // namespace ostrel_platform
