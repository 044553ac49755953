// The machine id that the software manager keeps, fetched through an exchange file.
#include "ostrel/filelock.h"
#include "ostrel/pellar_accessor.h"
#include "pellar_accessor/exchange.h"
#include "pellar_accessor/log.h"
#include "platform/files.h"
#include "platform/process.h"
#include "settor2/product_locations.h"
#include "toolkit/kiln2/files.h"
#include "toolkit/quillkit/strings.h"

#include <array>
#include <optional>

namespace OSTREL_NAMESPACE {

namespace {

constexpr int end_of_attempts = 20;

using ostrel_platform::shared_file_t;

std::optional<kiln2::path_t> exchange_folder() {
    const settor2::IProductLocations* const locations = settor2::IProductLocations::get();
    if (locations == nullptr) {
        OSTREL_LOG_ERROR(bridge_log, L"settor2::IProductLocations::get() is NULL");
        return std::nullopt;
    }
    const wchar_t* const folder = locations->getTempDir();
    if (folder == nullptr || *folder == L'\0') {
        OSTREL_LOG_ERROR(bridge_log, L"settor2::IProductLocations::get()->getTempDir() returned empty path");
        return std::nullopt;
    }
    return kiln2::path_t(folder);
}

kiln2::path_t exchange_path(const kiln2::path_t& folder, std::uint32_t process, int attempt) {
    return kiln2::path_t(folder).append(L"uuid-" + std::to_wstring(process) + L"-" +
                                        std::to_wstring(attempt) + L".txt");
}

/// Asks through one exchange file; nothing if it is in use or cannot be opened.
/// @param ask makes the tool write into the file of that path
template <class Ask>
std::optional<std::wstring> exchange(const kiln2::path_t& path, const Ask& ask) {
    filelock_t lock(path);
    if (!lock.lock() || !ostrel_platform::create_empty(path.as_string()))
        return std::nullopt;
    ask(path.as_string());
    const auto line = read_first_line(path);
    if (!line)
        return std::nullopt;
    // Removed under the lock: the next holder's file has the same name.
    kiln2::remove_file(path);
    std::wstring uuid = quillkit::strings::utf8_to_utf16(*line);
    OSTREL_LOG(bridge_log, info, L"return: uuid = " << uuid);
    return uuid;
}

} // namespace

std::optional<std::string> read_first_line(const kiln2::path_t& path) {
    auto file = shared_file_t::open_for_reading(path.as_string());
    if (!file)
        return std::nullopt;
    std::string line;
    std::array<char, 4096> buffer;
    for (auto end = std::string::npos; end == std::string::npos;) {
        const std::size_t count = file->read(buffer.data(), buffer.size()).value_or(0);
        const std::string_view bytes(buffer.data(), count);
        end = count == 0 ? 0 : bytes.find('\n');
        line += bytes.substr(0, end);
    }
    // The tool may end its lines as Windows does.
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    return line;
}

std::wstring pellar_accessor_impl_t::get_uuid() const {
    OSTREL_TRACE_CALL(bridge_log, OSTREL_WSTRING_TEXT L" " OSTREL_BRIDGE_TEXT L"get_uuid() const");
    const auto folder = exchange_folder();
    const std::uint32_t process = ostrel_platform::process_id();
    const auto ask = [this](const std::wstring& path) {
        invoke_pellar(tool_remote_monitor, {L"-u", path}, true);
    };
    for (int attempt = 1; folder && attempt < end_of_attempts; ++attempt)
        if (auto uuid = exchange(exchange_path(*folder, process, attempt), ask))
            return *std::move(uuid);
    OSTREL_LOG(bridge_log, info, L"return: empty string");
    return {};
}

} // namespace OSTREL_NAMESPACE
