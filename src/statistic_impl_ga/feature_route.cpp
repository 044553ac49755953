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

/// A key on its way down the set. What is met later lies between the nearest names on either side so far, and
/// so begins with what these two share with the key: that need not be compared again.
class probe_t {
public:
    explicit probe_t(std::wstring_view key) : m_key(key) {}

    bool is_less_than(std::wstring_view name) const {
        const std::size_t end = std::min(m_key.size(), name.size());
        std::size_t at = std::min(m_shared_below, m_shared_above);
        while (at != end && m_key[at] == name[at])
            ++at;
        const bool is_less = at == end ? m_key.size() < name.size() : m_key[at] < name[at];
        (is_less ? m_shared_above : m_shared_below) = at;
        return is_less;
    }

    /// After the search: how much the key shares with the last name that is not above it.
    std::size_t shared_below() const { return m_shared_below; }

private:
    std::wstring_view m_key;
    mutable std::size_t m_shared_below = 0;
    mutable std::size_t m_shared_above = 0;
};

bool operator<(const probe_t& probe, const std::wstring& name) {
    return probe.is_less_than(name);
}

struct search_t {
    bool is_found;
    std::size_t last_cut; ///< the cuts of the key behind this unit need not be looked up
};

search_t look_up(std::wstring_view key, const event_filter_t& enabled) {
    if (!enabled.has_names_of(key.size()))
        return {false, key.size()};
    const probe_t probe(key);
    auto nearest = enabled.names().upper_bound(probe);
    if (nearest == enabled.names().begin())
        return {false, 0};
    --nearest;
    // Every enabled name that begins the key stands between itself and the key, and so begins its nearest
    // neighbour too: cuts behind what the two share lead nowhere.
    const std::size_t shared = probe.shared_below();
    return {shared == key.size() && shared == nearest->size(), shared};
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
