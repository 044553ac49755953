// The system's clock and calendar, on Windows.
#include "platform/clock.h"

#include "platform/windows/handle.h"

namespace ostrel_platform {

namespace {

constexpr std::int64_t ticks_of_a_day = 864'000'000'000; // one tick is 100 nanoseconds
constexpr std::int64_t days_before_1970 = 134'774;       // file times begin in 1601

std::tm calendar_fields(const SYSTEMTIME& time) {
    std::tm fields{};
    fields.tm_year = time.wYear - 1900;
    fields.tm_mon = time.wMonth - 1;
    fields.tm_mday = time.wDay;
    fields.tm_hour = time.wHour;
    fields.tm_min = time.wMinute;
    fields.tm_sec = time.wSecond;
    fields.tm_wday = time.wDayOfWeek;
    return fields;
}

} // namespace

std::tm utc_now() {
    SYSTEMTIME now{};
    ::GetSystemTime(&now);
    return calendar_fields(now);
}

std::int64_t utc_day_number() {
    FILETIME now{};
    ::GetSystemTimeAsFileTime(&now);
    const auto ticks =
        static_cast<std::int64_t>((std::uint64_t{now.dwHighDateTime} << 32U) | now.dwLowDateTime);
    return ticks / ticks_of_a_day - days_before_1970;
}

std::int64_t utc_seconds(std::tm& fields) {
    return ::_mkgmtime64(&fields);
}

std::optional<std::tm> last_write_time(const std::wstring& path) {
    // FILE_SHARE_WRITE is left out, so that the call fails while the file is open for writing: the time is
    // not final yet.
    const handle_t file(
        ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    FILETIME written{};
    SYSTEMTIME time{};
    if (!file.is_open() || !::GetFileTime(file.get(), nullptr, nullptr, &written) ||
        !::FileTimeToSystemTime(&written, &time))
        return std::nullopt;
    return calendar_fields(time);
}

} // namespace ostrel_platform
