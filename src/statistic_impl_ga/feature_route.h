// Converts a feature name to the category and label of an event.
#pragma once

#include "ostrel/version.h"
#include "statistic_impl/event_filter.h"

#include <optional>
#include <string_view>

namespace OSTREL_NAMESPACE {

/// Category and label of an event. The views point into the feature name or into literals.
struct route_t {
    std::wstring_view category;
    std::wstring_view label;
};

/// The category is the longest enabled name that matches, see event_filter_t::longest_match. The label is the
/// text after the dot that follows the category; it may be empty. If no enabled name matches, "run." followed
/// by a name without dots has the category "run" and that name as label.
/// @return nullopt if @p feature is not to be reported
std::optional<route_t> route_feature(std::wstring_view feature, const event_filter_t& enabled);

} // namespace OSTREL_NAMESPACE
