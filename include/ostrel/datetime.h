// A moment in UTC with one-second precision, for hosts that read or write the same time stamps as the
// library.
#pragma once

#include "ostrel/export.h"
#include "ostrel/version.h"

#include <cstdint>
#include <string>

namespace OSTREL_NAMESPACE {

/// A moment between 1970-01-01T00:00:00Z and 3000-12-31T23:59:59Z, or invalid.
///
/// A plain value. No operation throws on bad input; failures yield the invalid value. No time zone or
/// daylight-saving rule is ever applied.
class OSTREL_API datetime_t {
public:
    /// Calendar fields in the order and with the ranges of the C library's `tm`.
    struct fields_t {
        std::int32_t second = 0;   ///< from 0
        std::int32_t minute = 0;   ///< from 0
        std::int32_t hour = 0;     ///< from 0
        std::int32_t day = 0;      ///< of the month, from 1
        std::int32_t month = 0;    ///< from 0
        std::int32_t year = 0;     ///< since 1900
        std::int32_t weekday = 0;  ///< from 0 = Sunday
        std::int32_t yearday = 0;  ///< from 0
        std::int32_t daylight = 0; ///< always 0: in UTC there is none
    };

    /// The invalid value. It equals every other invalid value and is less than every valid one.
    datetime_t();

    /// The system clock's present moment.
    static datetime_t now();

    /// Reads the form that as_string writes, in the lenient way of scanf: widths are maxima, blanks and signs
    /// before a number are accepted, a missing Z is ignored, and numbers out of range carry into the next
    /// unit (2016-02-30 is 2016-03-01). Invalid for texts of more than 20 characters, fewer than six numbers,
    /// or a moment out of range.
    static datetime_t parse(const std::wstring& text);

    /// When the file at @p path was last written. Invalid when it cannot be opened for reading; on Windows
    /// also while another process holds it open for writing.
    static datetime_t file_time(const std::wstring& path);

    /// The profile of ISO 8601 "YYYY-MM-DDThh:mm:ssZ"; 1900-01-00T00:00:00Z for the invalid value.
    std::wstring as_string() const;

    /// False for what a failure gave, and for a default-made value.
    bool is_valid() const;

    bool operator==(const datetime_t& other) const; ///< The same second, or both invalid.
    bool operator!=(const datetime_t& other) const; ///< The opposite of ==.
    bool operator<(const datetime_t& other) const;  ///< Earlier; invalid comes first.
    bool operator>(const datetime_t& other) const;  ///< Later; invalid comes first.

private:
    static datetime_t from_fields(const fields_t& fields);

    fields_t m_fields;
    std::int64_t m_seconds;
};

} // namespace OSTREL_NAMESPACE
