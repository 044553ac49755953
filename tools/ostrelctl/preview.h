// What a collector would receive for a feature.
#pragma once

#include "inspection.h"

#include <optional>
#include <string>
#include <vector>

namespace ostrelctl {

struct preview_t {
    std::string feature;
    std::optional<std::string> body; ///< the bytes that would be posted
    std::string why_not;             ///< empty if there is a body
};

/// @return one preview for each feature, in the same order
std::vector<preview_t> preview(const inspection_t& found, const std::vector<std::string>& features);

} // namespace ostrelctl
