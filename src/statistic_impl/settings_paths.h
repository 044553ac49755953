// The paths of the per-user files.
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
    kiln2::path_t virk;          ///< the consent file, shared by all products too
    kiln2::path_t statistic_dir; ///< the product's settings folder
    kiln2::path_t uuid;          ///< the machine-id file

    /// The folders that every statistic object needs, in the order in which it creates them.
    std::array<kiln2::path_t, 2> folders() const { return {company_dir, statistic_dir}; }
};

/// Composes the paths below the user's local application-data folder. Accesses no file.
settings_paths_t lay_out_settings(const std::wstring& local_app_data, const std::wstring& product_folder);

/// Returns the name of the product's folder from the host's configuration service. If that name is empty or
/// there is no service, returns the product id.
std::wstring product_folder_name(const std::wstring& product_id);

/// Returns the paths for this user and the product. Accesses no file.
/// @return nullopt if the system returns no local application-data folder
std::optional<settings_paths_t> settings_of(const std::wstring& product_id);

/// A product that has a settings folder for this user.
struct stored_product_t {
    std::wstring name; ///< name of the product's folder in the company folder
    kiln2::path_t statistic_dir;
};

/// Returns the products with a settings folder, sorted by name. Writes nothing.
std::vector<stored_product_t> stored_products();

enum class folder_outcome_t {
    exists,
    would_be_created,
    blocked,   ///< an entry that is not a folder has the same path
    forbidden, ///< this user lacks permission
};

/// The expected result of creating a folder with every missing parent.
struct folder_forecast_t {
    folder_outcome_t outcome;
    kiln2::path_t obstacle; ///< the path that blocks or forbids the creation; otherwise empty

    bool is_possible() const {
        return outcome == folder_outcome_t::exists || outcome == folder_outcome_t::would_be_created;
    }
};

/// Checks the folder and its parents, and creates none. Other causes, for example a full disk, can still make
/// the creation fail later.
folder_forecast_t forecast_folder(const kiln2::path_t& folder);

} // namespace OSTREL_NAMESPACE
