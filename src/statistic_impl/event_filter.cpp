// The list of events that may be reported at all.
#include "statistic_impl/event_filter.h"

#include "settor2/product_locations.h"
#include "toolkit/kiln2/variant_bag.h"

#include <algorithm>
#include <utility>

namespace OSTREL_NAMESPACE {

namespace {

constexpr std::size_t long_length = 63;

std::uint64_t length_bit(std::wstring_view text) {
    return std::uint64_t{1} << std::min(text.size(), long_length);
}

std::size_t mark_of(std::wstring_view text) {
    std::uint32_t hash = 0;
    for (const wchar_t unit : text)
        hash = hash * 31 + static_cast<std::uint32_t>(unit);
    return hash % 4096;
}

} // namespace

event_filter_t::event_filter_t(event_set_t names) : m_names(std::move(names)) {
    for (const std::wstring& name : m_names) {
        m_lengths |= length_bit(name);
        if (name.size() < long_length)
            m_marks.set(mark_of(name));
    }
}

bool event_filter_t::may_hold(std::wstring_view text) const {
    if ((m_lengths & length_bit(text)) == 0)
        return false;
    // Long texts are not hashed: one that is cut at many dots would be hashed as often.
    return text.size() >= long_length || m_marks[mark_of(text)];
}

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
    for (auto& [kind, event] : bag.bags()) {
        auto name = event.take(L"name");
        if (auto* const text = std::get_if<std::wstring>(&name); kind == L"event" && text != nullptr)
            events.insert(events.end(), std::move(*text)); // most lists are sorted
    }
    return events;
}

} // namespace OSTREL_NAMESPACE
