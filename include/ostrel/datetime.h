// A UTC time with one-second precision, for hosts that read or write the library's timestamps.
#pragma once

#include "ostrel/cxx_interface.h"
#include "ostrel/version.h"

#include <cstdint>
#include <string>

namespace OSTREL_NAMESPACE {

/// A time between 1970-01-01T00:00:00Z and 3000-12-31T23:59:59Z, or invalid.
///
/// A plain value with the thread safety of an int. On bad input or a failure, an operation returns the
/// invalid value and throws nothing. No time zone or daylight-saving rule is applied.
class OSTREL_API datetime_t {
public:
    /// Calendar fields with the order and ranges of the C library's `tm`. Hosts do not need this type: it is
    /// public only because its layout is part of the ABI.
    struct fields_t {
        std::int32_t second = 0;   ///< from 0
        std::int32_t minute = 0;   ///< from 0
        std::int32_t hour = 0;     ///< from 0
        std::int32_t day = 0;      ///< of the month, from 1
        std::int32_t month = 0;    ///< from 0
        std::int32_t year = 0;     ///< years since 1900
        std::int32_t weekday = 0;  ///< from 0, which is Sunday
        std::int32_t yearday = 0;  ///< from 0
        std::int32_t daylight = 0; ///< always 0: UTC has no daylight-saving time
    };

    /// The invalid value. It equals every other invalid value and is less than every valid one.
    datetime_t();

    /// The current time of the system clock.
    static datetime_t now();

    /// Parses the form that as_string returns. The parser is as lenient as scanf:
    /// - a number may have fewer digits, and spaces or a sign may precede the digits;
    /// - the text after the sixth number is ignored, so the Z is optional;
    /// - numbers out of range carry into the next unit: 2016-02-30 is 2016-03-01.
    ///
    /// @return the invalid value if the text has more than 20 characters, if one of the six numbers is
    ///         missing, or if the time is out of range
    static datetime_t parse(const std::wstring& text);

    /// The last-write time of the file at @p path. Opens the file.
    /// @return the invalid value if @p path is a folder or cannot be opened for reading. On Windows also
    ///         while the file is open for writing.
    static datetime_t file_time(const std::wstring& path);

    /// The ISO 8601 text "YYYY-MM-DDThh:mm:ssZ". The invalid value returns "1900-01-00T00:00:00Z".
    std::wstring as_string() const;

    /// False for a default-constructed value and for the result of a failure.
    bool is_valid() const;

    bool operator==(const datetime_t& other) const; ///< Same second, or both invalid.
    bool operator!=(const datetime_t& other) const; ///< The opposite of ==.
    bool operator<(const datetime_t& other) const;  ///< Earlier; the invalid value is the least.
    bool operator>(const datetime_t& other) const;  ///< Later; the invalid value is the least.

private:
    static datetime_t from_fields(const fields_t& fields);

    fields_t m_fields;
    std::int64_t m_seconds;
};

} // namespace OSTREL_NAMESPACE
