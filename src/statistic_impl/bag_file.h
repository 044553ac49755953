// How the library reads its own bags, and what stands in the way.
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
    unreadable, ///< no regular file, or one that this user may not read
    malformed,  ///< no XML, or not of the form of a bag
};

/// Fills @p bag from a file; leaves it empty unless the result is bag_state_t::loaded.
bag_state_t load_bag(kiln2::variant_bag_t& bag, const std::wstring& path);

} // namespace OSTREL_NAMESPACE
