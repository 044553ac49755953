// Which event a feature name becomes, if any.
#include "statistic_impl_ga/feature_route.h"

#include <algorithm>
#include <cstddef>

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

std::size_t shared_length(std::wstring_view left, std::wstring_view right) {
    const auto end = left.begin() + static_cast<std::ptrdiff_t>(std::min(left.size(), right.size()));
    return static_cast<std::size_t>(std::mismatch(left.begin(), end, right.begin()).first - left.begin());
}

struct search_t {
    bool is_found;
    std::size_t last_cut; ///< the cuts of the key behind this unit need not be looked up
};

search_t look_up(std::wstring_view key, const event_filter_t& enabled) {
    if (!enabled.may_hold(key))
        return {false, key.size()};
    auto nearest = enabled.names().upper_bound(key);
    if (nearest == enabled.names().begin())
        return {false, 0};
    --nearest;
    if (*nearest == key)
        return {true, 0};
    // Every enabled name that begins the key stands between itself and the key, and so begins its nearest
    // neighbour too: cuts behind what the two share lead nowhere.
    return {false, shared_length(key, *nearest)};
}

} // namespace

std::optional<route_t> route_feature(std::wstring_view feature, const event_filter_t& enabled) {
    std::wstring_view key = feature;
    for (;;) {
        const search_t search = look_up(key, enabled);
        if (search.is_found)
            break;
        const std::size_t dot = key.rfind(L'.', search.last_cut);
        if (dot == std::wstring_view::npos)
            return route_run(feature);
        key = key.substr(0, dot);
    }
    if (key.size() == feature.size())
        return route_t{feature, {}};
    return route_t{key, feature.substr(key.size() + 1)};
}

} // namespace OSTREL_NAMESPACE
