// Reads the library's XML files and tells why a file cannot be read. Each file holds one
// kiln2::variant_bag_t.
#pragma once

#include "ostrel/version.h"
#include "toolkit/kiln2/variant_bag.h"

#include <string>

namespace OSTREL_NAMESPACE {

/// The name of the root element in each of the library's files.
inline constexpr const wchar_t* bag_root = L"bag";

enum class bag_state_t {
    loaded,
    missing,
    unreadable, ///< not a regular file, or the user lacks permission
    malformed,  ///< not XML, or XML that is not a bag
};

/// Fills @p bag from a file. Unless the result is bag_state_t::loaded, @p bag stays empty.
bag_state_t load_bag(kiln2::variant_bag_t& bag, const std::wstring& path);

} // namespace OSTREL_NAMESPACE
