// The list of events that may be reported at all.
#include "statistic_impl/event_filter.h"

#include "settor2/product_locations.h"
#include "toolkit/kiln2/variant_bag.h"

namespace OSTREL_NAMESPACE {

kiln2::path_t event_filter_path() {
    const settor2::IProductLocations* const locations = settor2::IProductLocations::get();
    const wchar_t* const folder = locations == nullptr ? nullptr : locations->getFolder();
    // Joined to nothing, the rest would name a file in whatever folder the host works in.
    if (folder == nullptr || *folder == L'\0')
        return {};
    return kiln2::path_t(folder)
        .append(std::wstring(L"statistic"))
        .append(std::wstring(L"enabled_stat_events.xml"));
}

event_set_t load_enabled_events(const kiln2::path_t& path) {
    kiln2::variant_bag_t bag;
    event_set_t events;
    if (path.is_empty() || kiln2::load_variant_bag2(bag, path, L"bag", false) != 1)
        return events;
    for (const auto& [name, event] : bag.bags())
        if (const auto* const text = std::get_if<std::wstring>(&event.get(L"name")); name == L"event" && text)
            events.insert(*text);
    return events;
}

} // namespace OSTREL_NAMESPACE
