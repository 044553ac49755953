// The list of events that may be reported at all.
#pragma once

#include "kiln2/path.h"
#include "ostrel/version.h"

#include <bitset>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <string_view>

namespace OSTREL_NAMESPACE {

/// Event names in the order of their code units; searched with views.
using event_set_t = std::set<std::wstring, std::less<>>;

/// The names, and what tells most other texts from them without a search.
class event_filter_t {
public:
    event_filter_t() = default;
    event_filter_t(event_set_t names); // NOLINT(google-explicit-constructor): a set is a filter

    const event_set_t& names() const { return m_names; }

    /// False for sure when @p text is none of the names; true now and then for another text too.
    bool may_hold(std::wstring_view text) const;

private:
    event_set_t m_names;
    std::uint64_t m_lengths = 0; ///< a bit for every length that occurs, the last one for all from there on
    std::bitset<4096> m_marks;   ///< a bit for the hash of every name that is not of those
};

/// Where the host's configuration service puts the list; the empty path when there is no service or no
/// folder.
kiln2::path_t event_filter_path();

/// Reads the list: the "name" of every "event" that has one. Empty when the file is missing or malformed.
event_set_t load_enabled_events(const kiln2::path_t& path);

} // namespace OSTREL_NAMESPACE
