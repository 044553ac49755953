// The list of events that may be reported at all.
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
/// Immutable once constructed, so any thread may search it. The time of a search does not depend on the
/// number of names.
class event_filter_t {
public:
    /// Copies the names and leaves duplicates out.
    explicit event_filter_t(const std::vector<std::wstring_view>& names = {});

    /// The names in the order of their code units. The views are valid as long as the object.
    std::vector<std::wstring_view> names() const;

    static constexpr std::size_t no_match = std::wstring_view::npos;

    /// The length of the longest enabled name that equals @p feature or is a prefix of it that ends before a
    /// dot; no_match if there is none.
    std::size_t longest_match(std::wstring_view feature) const;

private:
    struct name_t {
        std::size_t begin = 0;
        std::size_t size = 0;
    };
    struct slot_t {
        std::uint64_t hash = 0;
        std::size_t name = 0; ///< its place in m_names, counted from 1; 0 if the slot is free
    };

    std::wstring_view text_of(const name_t& name) const { return {m_text.data() + name.begin, name.size}; }
    std::size_t find(std::wstring_view name, std::uint64_t hash) const;

    std::wstring m_text; ///< all names, one after the other: one allocation in total, not one for each name
    std::vector<name_t> m_names;
    std::vector<slot_t> m_slots; ///< a power of two, at most half of them taken
    std::size_t m_mask;          ///< turns a spread hash into an index of m_slots
    std::size_t m_longest = 0;   ///< the length of the longest name
};

/// The path of the list below the folder that the host's configuration service names; empty if there is no
/// service or no folder.
kiln2::path_t event_filter_path();

/// Reads the list: the "name" of every "event" that has one. Empty if the file is missing or malformed.
event_filter_t load_enabled_events(const kiln2::path_t& path);

} // namespace OSTREL_NAMESPACE
