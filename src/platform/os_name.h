// What the operating system calls itself.
#pragma once

#include <optional>
#include <string>

namespace ostrel_platform {

/// The product name of the running system; nothing when it does not tell.
std::optional<std::wstring> os_product_name();

} // namespace ostrel_platform
