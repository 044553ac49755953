// The list of events that may be reported at all.
#pragma once

#include "kiln2/path.h"
#include "ostrel/version.h"

#include <functional>
#include <set>
#include <string>

namespace OSTREL_NAMESPACE {

/// Event names in the order of their code units; searched with views.
using event_set_t = std::set<std::wstring, std::less<>>;

/// Where the host's configuration service puts the list; the empty path when there is no service or no
/// folder.
kiln2::path_t event_filter_path();

/// Reads the list: the "name" of every "event" that has one. Empty when the file is missing or malformed.
event_set_t load_enabled_events(const kiln2::path_t& path);

} // namespace OSTREL_NAMESPACE
