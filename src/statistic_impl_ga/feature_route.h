// Which event a feature name becomes, if any.
#pragma once

#include "ostrel/version.h"
#include "statistic_impl/event_filter.h"

#include <optional>
#include <string_view>

namespace OSTREL_NAMESPACE {

/// Views into the feature name that was routed, or into literals.
struct route_t {
    std::wstring_view category;
    std::wstring_view label;
};

/// The longest enabled name that is @p feature, or that a dot follows in @p feature, becomes the category.
/// The text after that dot becomes the label. If no name matches, "run." followed by a name without dots
/// becomes the category "run". Any other name becomes no event.
std::optional<route_t> route_feature(std::wstring_view feature, const event_filter_t& enabled);

} // namespace OSTREL_NAMESPACE
