// The UTC date-time value.
#include "ostrel/datetime.h"

#include "platform/clock.h"

#include <cwchar>
#include <optional>

namespace OSTREL_NAMESPACE {

namespace {

constexpr std::size_t longest_text = 20;
constexpr std::int64_t last_second = 32535215999; // 3000-12-31T23:59:59Z

std::tm to_tm(const datetime_t::fields_t& fields) {
    std::tm result{};
    result.tm_sec = fields.second;
    result.tm_min = fields.minute;
    result.tm_hour = fields.hour;
    result.tm_mday = fields.day;
    result.tm_mon = fields.month;
    result.tm_year = fields.year;
    return result;
}

datetime_t::fields_t to_fields(const std::tm& time) {
    return {time.tm_sec,  time.tm_min,  time.tm_hour,
            time.tm_mday, time.tm_mon,  time.tm_year,
            time.tm_wday, time.tm_yday, 0};
}

// Some systems check the range of the time before they normalise the fields. Other systems never check it.
// So the result is checked here.
bool is_in_range(std::int64_t seconds) {
    return seconds >= 0 && seconds <= last_second;
}

std::wstring padded(std::int32_t number, std::size_t width) {
    const std::wstring digits = std::to_wstring(number);
    return digits.size() < width ? std::wstring(width - digits.size(), L'0') + digits : digits;
}

} // namespace

datetime_t::datetime_t() : m_seconds(-1) {}

datetime_t datetime_t::from_fields(const fields_t& fields) {
    std::tm time = to_tm(fields);
    const std::int64_t seconds = ostrel_platform::utc_seconds(time);
    datetime_t result;
    if (!is_in_range(seconds))
        return result;
    result.m_fields = to_fields(time);
    result.m_seconds = seconds;
    return result;
}

datetime_t datetime_t::now() {
    return from_fields(to_fields(ostrel_platform::utc_now()));
}

datetime_t datetime_t::parse(const std::wstring& text) {
    if (text.size() > longest_text)
        return {};
    fields_t fields;
    // Hosts rely on what scanf accepts, for example leading spaces and numbers with fewer digits.
    const int count = std::swscanf(text.c_str(), L"%4d-%2d-%2dT%2d:%2d:%2dZ", &fields.year, &fields.month,
                                   &fields.day, &fields.hour, &fields.minute, &fields.second);
    if (count != 6)
        return {};
    fields.year -= 1900;
    fields.month -= 1;
    return from_fields(fields);
}

datetime_t datetime_t::file_time(const std::wstring& path) {
    const auto time = ostrel_platform::last_write_time(path);
    return time ? from_fields(to_fields(*time)) : datetime_t();
}

std::wstring datetime_t::as_string() const {
    return padded(m_fields.year + 1900, 4) + L"-" + padded(m_fields.month + 1, 2) + L"-" +
           padded(m_fields.day, 2) + L"T" + padded(m_fields.hour, 2) + L":" + padded(m_fields.minute, 2) +
           L":" + padded(m_fields.second, 2) + L"Z";
}

bool datetime_t::is_valid() const {
    if (m_seconds == -1)
        return false;
    std::tm time = to_tm(m_fields);
    return is_in_range(ostrel_platform::utc_seconds(time));
}

bool datetime_t::operator==(const datetime_t& other) const {
    return m_seconds == other.m_seconds;
}
bool datetime_t::operator!=(const datetime_t& other) const {
    return m_seconds != other.m_seconds;
}
bool datetime_t::operator<(const datetime_t& other) const {
    return m_seconds < other.m_seconds;
}
bool datetime_t::operator>(const datetime_t& other) const {
    return m_seconds > other.m_seconds;
}

} // namespace OSTREL_NAMESPACE
