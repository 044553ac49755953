// The event filter: the names of the events that may be reported.
#pragma once

#include "kiln2/path.h"
#include "ostrel/version.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace OSTREL_NAMESPACE {

/// The names of the enabled events, in a hash table.
///
/// Immutable and therefore thread-safe. The time of a search does not depend on the number of names.
class event_filter_t {
public:
    /// Copies the names and ignores duplicates.
    explicit event_filter_t(const std::vector<std::wstring_view>& names = {});

    /// The names, sorted by code unit. The views are valid as long as the object.
    std::vector<std::wstring_view> names() const;

    static constexpr std::size_t no_match = std::wstring_view::npos;

    /// Returns the length of the longest enabled name that matches @p feature, or no_match. A name matches if
    /// it equals @p feature, or if @p feature begins with the name and a dot.
    std::size_t longest_match(std::wstring_view feature) const;

private:
    struct name_t {
        std::size_t begin = 0;
        std::size_t size = 0;
    };
    struct slot_t {
        std::uint64_t hash = 0;
        std::size_t name = 0; ///< 1-based index into m_names; 0: the slot is free
    };

    std::wstring_view text_of(const name_t& name) const { return {m_text.data() + name.begin, name.size}; }
    std::size_t find(std::wstring_view name, std::uint64_t hash) const;

    std::wstring m_text; ///< all names, concatenated to save allocations
    std::vector<name_t> m_names;
    std::vector<slot_t> m_slots; ///< size: a power of two, at least twice the number of names
    std::size_t m_mask;          ///< m_slots.size() - 1
    std::size_t m_longest = 0;   ///< the length of the longest name
};

/// The path of the event filter's file below the folder that the host's configuration service returns. Empty
/// if there is no service or no folder.
kiln2::path_t event_filter_path();

/// Reads the file: the "name" of every "event". Events without a name are ignored. If the file is missing or
/// malformed, the filter is empty.
event_filter_t load_enabled_events(const kiln2::path_t& path);

} // namespace OSTREL_NAMESPACE
