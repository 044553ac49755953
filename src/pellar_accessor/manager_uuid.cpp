// Asks the software manager for the machine id that it keeps.
#include "ostrel/pellar_accessor.h"
#include "pellar_accessor/exchange.h"
#include "pellar_accessor/log.h"
#include "platform/process.h"
#include "settor2/product_locations.h"

#include <optional>

namespace OSTREL_NAMESPACE {

namespace {

constexpr int end_of_attempts = 20;

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

} // namespace

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
