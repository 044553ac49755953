// Where the per-user files lie.
#include "statistic_impl/settings_paths.h"

#include "platform/folders.h"
#include "settor2/product_locations.h"

namespace OSTREL_NAMESPACE {

namespace {

constexpr int product_folder_kind = 6;

} // namespace

settings_paths_t lay_out_settings(const std::wstring& local_app_data, const std::wstring& product_folder) {
    settings_paths_t paths;
    paths.company_dir = kiln2::path_t(local_app_data).append(std::wstring(L"Norvane Corporation"));
    paths.virk = kiln2::path_t(paths.company_dir).append(std::wstring(L"virk"));
    paths.statistic_dir = kiln2::path_t(paths.company_dir)
                              .append(product_folder)
                              .append(std::wstring(L"settings"))
                              .append(std::wstring(L"statistic"));
    paths.uuid = kiln2::path_t(paths.statistic_dir).append(std::wstring(L"uuid.xml"));
    return paths;
}

std::wstring product_folder_name(const std::wstring& product_id) {
    const settor2::IProductLocations* const locations = settor2::IProductLocations::get();
    std::wstring name = locations == nullptr ? std::wstring() : locations->getLocation(product_folder_kind);
    return name.empty() ? product_id : name;
}

std::optional<settings_paths_t> settings_of(const std::wstring& product_id) {
    const auto local_app_data = ostrel_platform::local_app_data_folder();
    if (!local_app_data)
        return std::nullopt;
    return lay_out_settings(*local_app_data, product_folder_name(product_id));
}

} // namespace OSTREL_NAMESPACE
