// The list of events that may be reported at all.
#pragma once

#include "kiln2/path.h"
#include "ostrel/version.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <utility>

namespace OSTREL_NAMESPACE {

/// Event names in the order of their code units; searched with views.
using event_set_t = std::set<std::wstring, std::less<>>;

/// The names, and which lengths they have: for a text of any other length the set need not be searched.
class event_filter_t {
public:
    event_filter_t() = default;
    event_filter_t(event_set_t names) : m_names(std::move(names)) { // NOLINT(google-explicit-constructor)
        for (const std::wstring& name : m_names)
            m_lengths |= bit_of(name.size());
    }

    const event_set_t& names() const { return m_names; }
    bool has_names_of(std::size_t length) const { return (m_lengths & bit_of(length)) != 0; }

private:
    /// The last bit stands for every length from 63 on.
    static std::uint64_t bit_of(std::size_t length) {
        return std::uint64_t{1} << std::min<std::size_t>(length, 63);
    }

    event_set_t m_names;
    std::uint64_t m_lengths = 0;
};

/// Where the host's configuration service puts the list; the empty path when there is no service or no
/// folder.
kiln2::path_t event_filter_path();

/// Reads the list: the "name" of every "event" that has one. Empty when the file is missing or malformed.
event_set_t load_enabled_events(const kiln2::path_t& path);

} // namespace OSTREL_NAMESPACE
