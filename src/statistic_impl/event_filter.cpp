// The hash table of the enabled events, and its file.
#include "statistic_impl/event_filter.h"

#include "settor2/product_locations.h"
#include "statistic_impl/bag_file.h"
#include "toolkit/kiln2/variant_bag.h"

#include <algorithm>
#include <utility>
#include <variant>

namespace OSTREL_NAMESPACE {

namespace {

// Returns the hash of a text and one more code unit. One pass over a name therefore gives the hash of each
// prefix.
std::uint64_t extend(std::uint64_t hash, wchar_t unit) {
    return (hash << 5U | hash >> 59U) ^ static_cast<std::uint32_t>(unit);
}

std::uint64_t hash_of(std::wstring_view text) {
    std::uint64_t hash = 0;
    for (const wchar_t unit : text)
        hash = extend(hash, unit);
    return hash;
}

std::size_t table_size(std::size_t names) {
    std::size_t size = 2;
    while (size < 2 * names)
        size *= 2;
    return size;
}

} // namespace

event_filter_t::event_filter_t(const std::vector<std::wstring_view>& names)
    : m_slots(table_size(names.size())), m_mask(m_slots.size() - 1) {
    m_names.reserve(names.size());
    for (const std::wstring_view name : names) {
        const std::uint64_t hash = hash_of(name);
        slot_t& slot = m_slots[find(name, hash)];
        if (slot.name != 0)
            continue;
        m_names.push_back({m_text.size(), name.size()});
        m_text += name;
        m_longest = std::max(m_longest, name.size());
        slot = {hash, m_names.size()};
    }
}

std::vector<std::wstring_view> event_filter_t::names() const {
    std::vector<std::wstring_view> names;
    for (const name_t& name : m_names)
        names.push_back(text_of(name));
    std::sort(names.begin(), names.end());
    return names;
}

// Returns the index of the slot that holds the name, or of the free slot where the name would be inserted.
inline std::size_t event_filter_t::find(std::wstring_view name, std::uint64_t hash) const {
    // Similar names have similar hashes. The multiplication distributes them over the table.
    std::size_t index = (hash * 0x9E3779B97F4A7C15U) >> 32U;
    for (;; ++index) {
        index &= m_mask;
        const slot_t& slot = m_slots[index];
        if (slot.name == 0 || (slot.hash == hash && text_of(m_names[slot.name - 1]) == name))
            return index;
    }
}

std::size_t event_filter_t::longest_match(std::wstring_view feature) const {
    const wchar_t* const units = feature.data();
    const std::size_t end = std::min(feature.size(), m_longest);
    std::size_t match = no_match;
    std::uint64_t hash = 0;
    for (std::size_t length = 0;; ++length) {
        if (length == end || units[length] == L'.') {
            const bool is_prefix = length == feature.size() || units[length] == L'.';
            if (is_prefix && m_slots[find({units, length}, hash)].name != 0)
                match = length;
            if (length == end)
                return match;
        }
        hash = extend(hash, units[length]);
    }
}

kiln2::path_t event_filter_path() {
    const settor2::IProductLocations* const locations = settor2::IProductLocations::get();
    const wchar_t* const folder = locations == nullptr ? nullptr : locations->getFolder();
    // If the folder is empty, the path below would be relative to the current folder.
    if (folder == nullptr || *folder == L'\0')
        return {};
    return kiln2::path_t(folder)
        .append(std::wstring(L"statistic"))
        .append(std::wstring(L"enabled_stat_events.xml"));
}

event_filter_t load_enabled_events(const kiln2::path_t& path) {
    kiln2::variant_bag_t bag;
    std::vector<std::wstring_view> names;
    if (!path.is_empty() && kiln2::load_variant_bag2(bag, path, bag_root, false) == 1)
        for (const auto& [kind, event] : bag.bags())
            if (const auto* const name = std::get_if<std::wstring>(&event.get_utf8("name"));
                kind == std::string_view("event") && name != nullptr)
                names.emplace_back(*name);
    return event_filter_t(names);
}

} // namespace OSTREL_NAMESPACE
