// The name that os-release(5) gives the operating system.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ostrel_platform {

/// The first PRETTY_NAME that is not empty, without quotes and escapes; nullopt if the text has none.
std::optional<std::wstring> pretty_name(std::string_view content);

} // namespace ostrel_platform
