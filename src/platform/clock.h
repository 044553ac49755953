// The system's clock and calendar, always in UTC.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

namespace ostrel_platform {

/// The present moment in calendar fields, fractions of a second dropped.
std::tm utc_now();

/// Days since 1970-01-01 of the present moment; cheaper than the fields.
std::int64_t utc_day_number();

/// Seconds since 1970-01-01T00:00:00Z of calendar fields in UTC; negative for moments before, and if the
/// system cannot convert the fields. Only the years 1970 to 3000 are supported by every system. Fields out of
/// range carry into the next larger unit; @p fields holds the normalised ones afterwards.
std::int64_t utc_seconds(std::tm& fields);

/// When a file was last written; nothing when it cannot be opened for reading.
std::optional<std::tm> last_write_time(const std::wstring& path);

} // namespace ostrel_platform
