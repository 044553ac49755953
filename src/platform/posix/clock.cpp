// The system's clock and calendar, on POSIX.
#include "platform/clock.h"

#include "platform/posix/descriptor.h"
#include "text/utf.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace ostrel_platform {

namespace {

constexpr std::int64_t seconds_of_a_day = 86400;

std::tm calendar_fields(std::time_t seconds) {
    std::tm fields{};
    ::gmtime_r(&seconds, &fields);
    return fields;
}

} // namespace

std::tm utc_now() {
    return calendar_fields(std::time(nullptr));
}

std::int64_t utc_day_number() {
    return std::time(nullptr) / seconds_of_a_day;
}

std::int64_t utc_seconds(std::tm& fields) {
    return ::timegm(&fields);
}

std::optional<std::tm> last_write_time(const std::wstring& path) {
    // Opens the file, because the result is nullopt for a file that cannot be read. The result for a folder
    // is nullopt too, because Windows refuses to open the folder.
    const descriptor_t file(::open(to_utf8(path).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file.is_open() || ::fstat(file.get(), &status) != 0 || S_ISDIR(status.st_mode))
        return std::nullopt;
    return calendar_fields(status.st_mtim.tv_sec);
}

} // namespace ostrel_platform
