// Where the per-user files lie.
#pragma once

#include "kiln2/path.h"
#include "ostrel/version.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace OSTREL_NAMESPACE {

/// The folders and files of one user and product.
struct settings_paths_t {
    kiln2::path_t company_dir;   ///< shared by all of the maker's products
    kiln2::path_t virk;          ///< the consent file, shared too
    kiln2::path_t statistic_dir; ///< the product's statistics settings
    kiln2::path_t uuid;          ///< the machine-id file

    /// The folders that every statistic object needs, in the order in which it creates them.
    std::array<kiln2::path_t, 2> folders() const { return {company_dir, statistic_dir}; }
};

/// Lays the paths out below the user's local application-data folder; touches no file.
settings_paths_t lay_out_settings(const std::wstring& local_app_data, const std::wstring& product_folder);

/// The name of the product's folder, from the host's configuration service or else the product id.
std::wstring product_folder_name(const std::wstring& product_id);

/// The folders and files of this user and the product; nothing if the system names no folder for them.
/// Touches no file.
std::optional<settings_paths_t> settings_of(const std::wstring& product_id);

/// A product of this user that keeps settings.
struct stored_product_t {
    std::wstring name; ///< of its folder below the company folder
    kiln2::path_t statistic_dir;
};

/// The products whose statistics settings exist, sorted by name. Only reads.
std::vector<stored_product_t> stored_products();

/// The expected result of creating a folder with every missing parent.
struct folder_forecast_t {
    enum outcome_t {
        exists,
        would_be_created,
        blocked,   ///< something other than a folder is in the way
        forbidden, ///< this user may not create it
    };

    outcome_t outcome;
    kiln2::path_t obstacle; ///< what blocks or forbids it, else empty

    bool is_possible() const { return outcome == exists || outcome == would_be_created; }
};

/// Looks at the folder and its parents, and creates none. What it cannot foresee, for example a full disk,
/// still fails later.
folder_forecast_t forecast_folder(const kiln2::path_t& folder);

} // namespace OSTREL_NAMESPACE
