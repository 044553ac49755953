// The paths of the per-user files.
#include "statistic_impl/settings_paths.h"

#include "foundations/folders.h"
#include "platform/entries.h"
#include "platform/folders.h"
#include "settor2/product_locations.h"

#include <algorithm>
#include <utility>

namespace OSTREL_NAMESPACE {

namespace {

// The kind of location that is the name of the product's folder below the company folder.
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

std::vector<stored_product_t> stored_products() {
    std::vector<stored_product_t> products;
    const auto local_app_data = ostrel_platform::local_app_data_folder();
    if (!local_app_data)
        return products;
    const kiln2::path_t company_dir = lay_out_settings(*local_app_data, {}).company_dir;
    for (std::wstring& name : ostrel_platform::entry_names(company_dir.as_string())) {
        kiln2::path_t folder = lay_out_settings(*local_app_data, name).statistic_dir;
        if (ostrel_platform::look_at(folder.as_string()) == ostrel_platform::entry_t::folder)
            products.push_back({std::move(name), std::move(folder)});
    }
    std::sort(products.begin(), products.end(),
              [](const auto& left, const auto& right) { return left.name < right.name; });
    return products;
}

folder_forecast_t forecast_folder(const kiln2::path_t& folder) {
    using ostrel_platform::entry_t;
    entry_t entry = ostrel_platform::look_at(folder.as_string());
    if (entry == entry_t::folder)
        return {folder_outcome_t::exists, {}};
    kiln2::path_t last = folder;
    for (auto parent = parent_folder(last); entry == entry_t::missing && !parent.is_empty();
         parent = parent_folder(last)) {
        last = std::move(parent);
        entry = ostrel_platform::look_at(last.as_string());
    }
    if (entry == entry_t::folder && ostrel_platform::may_create_in(last.as_string()))
        return {folder_outcome_t::would_be_created, {}};
    const bool is_forbidden = entry == entry_t::folder || entry == entry_t::unreachable;
    return {is_forbidden ? folder_outcome_t::forbidden : folder_outcome_t::blocked, last};
}

} // namespace OSTREL_NAMESPACE
