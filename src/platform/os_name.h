// The operating system's name.
#pragma once

#include <optional>
#include <string>

namespace ostrel_platform {

/// The product name of the running system; nullopt if the system does not tell it.
std::optional<std::wstring> os_product_name();

} // namespace ostrel_platform
