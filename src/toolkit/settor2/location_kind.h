// The kinds of location that the library asks the configuration service for.
#pragma once

namespace settor2 {

/// The name of the product's folder below the company folder.
inline constexpr int product_folder_kind = 6;

} // namespace settor2
