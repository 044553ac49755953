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

/// The longest enabled prefix of @p feature that ends at a dot or at its end becomes the category, the rest
/// behind that dot the label. Failing that, "run." followed by a name without dots is always enabled. Nothing
/// for every other name.
std::optional<route_t> route_feature(std::wstring_view feature, const event_filter_t& enabled);

} // namespace OSTREL_NAMESPACE
