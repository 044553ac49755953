// The system's clock and calendar, always in UTC.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

namespace ostrel_platform {

/// The current time in calendar fields, without fractions of a second.
std::tm utc_now();

/// The current day, in days since 1970-01-01; faster than the fields.
std::int64_t utc_day_number();

/// Converts UTC calendar fields to seconds since 1970-01-01T00:00:00Z; negative for earlier times and for
/// fields that the system cannot convert. All systems convert the years 1970 to 3000. Fields out of range
/// carry into the next larger unit; afterwards @p fields is normalised.
std::int64_t utc_seconds(std::tm& fields);

/// The last-write time of a file; nothing if it cannot be opened for reading.
std::optional<std::tm> last_write_time(const std::wstring& path);

} // namespace ostrel_platform
