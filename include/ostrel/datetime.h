// A moment in UTC with one-second precision, for hosts that read or write the same timestamps as the library.
#pragma once

#include "ostrel/cxx_interface.h"
#include "ostrel/version.h"

#include <cstdint>
#include <string>

namespace OSTREL_NAMESPACE {

/// A moment between 1970-01-01T00:00:00Z and 3000-12-31T23:59:59Z, or invalid.
///
/// A plain value. No operation throws on bad input; failures yield the invalid value. No time zone and no
/// daylight-saving rule is applied.
class OSTREL_API datetime_t {
public:
    /// Calendar fields in the order and with the ranges of the C library's `tm`. No operation returns them:
    /// the type is public only because its layout is part of the ABI.
    struct fields_t {
        std::int32_t second = 0;   ///< from 0
        std::int32_t minute = 0;   ///< from 0
        std::int32_t hour = 0;     ///< from 0
        std::int32_t day = 0;      ///< of the month, from 1
        std::int32_t month = 0;    ///< from 0
        std::int32_t year = 0;     ///< since 1900
        std::int32_t weekday = 0;  ///< from 0 = Sunday
        std::int32_t yearday = 0;  ///< from 0
        std::int32_t daylight = 0; ///< always 0: UTC has no daylight-saving time
    };

    /// The invalid value. It equals every other invalid value and is less than every valid one.
    datetime_t();

    /// The current time of the system clock.
    static datetime_t now();

    /// Parses the form that as_string writes, as leniently as scanf: a number may have fewer digits, blanks
    /// or a sign before it. Any text may follow the six numbers, for example a missing or another letter
    /// instead of Z. Numbers out of range carry into the next unit: 2016-02-30 is 2016-03-01.
    /// @return the invalid value if the text has more than 20 characters or fewer than six numbers, or if the
    ///         moment is out of range
    static datetime_t parse(const std::wstring& text);

    /// The last-write time of the file at @p path.
    /// @return the invalid value if the file cannot be opened for reading, for folders, and on Windows while
    ///         another process has the file open for writing
    static datetime_t file_time(const std::wstring& path);

    /// The ISO 8601 form "YYYY-MM-DDThh:mm:ssZ"; 1900-01-00T00:00:00Z for the invalid value.
    std::wstring as_string() const;

    /// False for a default-constructed value and for the result of a failure.
    bool is_valid() const;

    bool operator==(const datetime_t& other) const; ///< The same second, or both are invalid.
    bool operator!=(const datetime_t& other) const; ///< The opposite of ==.
    bool operator<(const datetime_t& other) const;  ///< Earlier; the invalid value is the least.
    bool operator>(const datetime_t& other) const;  ///< Later; the invalid value is the least.

private:
    static datetime_t from_fields(const fields_t& fields);

    fields_t m_fields;
    std::int64_t m_seconds;
};

} // namespace OSTREL_NAMESPACE
