// Converts a feature name to the category and label of an event.
#include "statistic_impl_ga/feature_route.h"

#include <algorithm>

namespace OSTREL_NAMESPACE {

namespace {

constexpr std::wstring_view run_prefix = L"run.";

std::optional<route_t> route_run(std::wstring_view feature) {
    // Faster than comparing views, which calls a function of the C library.
    if (feature.size() < run_prefix.size() ||
        !std::equal(run_prefix.begin(), run_prefix.end(), feature.begin()))
        return std::nullopt;
    const std::wstring_view rest = feature.substr(run_prefix.size());
    if (rest.find(L'.') != std::wstring_view::npos)
        return std::nullopt;
    return route_t{L"run", rest};
}

} // namespace

std::optional<route_t> route_feature(std::wstring_view feature, const event_filter_t& enabled) {
    const std::size_t match = enabled.longest_match(feature);
    if (match == event_filter_t::no_match)
        return route_run(feature);
    if (match == feature.size())
        return route_t{feature, {}};
    return route_t{feature.substr(0, match), feature.substr(match + 1)};
}

} // namespace OSTREL_NAMESPACE
