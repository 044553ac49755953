// Which event a feature name becomes, if any.
#include "statistic_impl_ga/feature_route.h"

namespace OSTREL_NAMESPACE {

namespace {

constexpr std::wstring_view run_prefix = L"run.";

std::optional<route_t> route_run(std::wstring_view feature) {
    if (feature.substr(0, run_prefix.size()) != run_prefix)
        return std::nullopt;
    const std::wstring_view rest = feature.substr(run_prefix.size());
    if (rest.find(L'.') != std::wstring_view::npos)
        return std::nullopt;
    return route_t{L"run", rest};
}

} // namespace

std::optional<route_t> route_feature(std::wstring_view feature, const event_set_t& enabled) {
    std::wstring_view key = feature;
    while (enabled.find(key) == enabled.end()) {
        const std::size_t dot = key.rfind(L'.');
        if (dot == std::wstring_view::npos)
            return route_run(feature);
        key = key.substr(0, dot);
    }
    if (key.size() == feature.size())
        return route_t{feature, {}};
    return route_t{key, feature.substr(key.size() + 1)};
}

} // namespace OSTREL_NAMESPACE
