// The text of a hit: Measurement Protocol version 1, hit type "event".
#pragma once

#include "ostrel/version.h"
#include "statistic_impl_ga/feature_route.h"
#include "toolkit/quillkit/strings.h"

#include <string>

namespace OSTREL_NAMESPACE {

/// What every hit of one object says of its sender.
struct hit_identity_t {
    std::string tracking_id;
    std::wstring machine_id;
    std::wstring application_name;
    std::wstring application_version;
    std::wstring os_name;
};

/// What the library says of an object with this id, application and version: with them go the account at the
/// collector and the running system's name.
hit_identity_t identify(const std::wstring& machine_id, const std::wstring& application_name,
                        const std::wstring& application_version);

/// The parameters common to every hit.
/// @param escape percent-encodes one UTF-8 value
template <class Escape>
std::string compose_hit_prefix(const hit_identity_t& identity, const Escape& escape) {
    using quillkit::strings::utf16_to_utf8;
    std::string prefix = "v=1&tid=" + identity.tracking_id;
    // Machine id and version go out unescaped: collectors have always received them so.
    prefix += "&cid=" + utf16_to_utf8(identity.machine_id);
    prefix += "&an=" + escape(utf16_to_utf8(identity.application_name));
    prefix += "&av=" + utf16_to_utf8(identity.application_version);
    // The same on every system: collectors group by it.
    prefix += "&cd1=" + escape("win32");
    prefix += "&cd2=" + escape(utf16_to_utf8(identity.os_name));
    return prefix;
}

/// One whole hit. There is no event action and no event value: category and label say it all.
/// @param prefix what compose_hit_prefix gave
template <class Escape>
std::string compose_event_hit(const std::string& prefix, const route_t& route, bool is_regular_user,
                              const Escape& escape) {
    using quillkit::strings::utf16_to_utf8;
    const std::string category = escape(utf16_to_utf8(route.category));
    const std::string label = route.label.empty() ? std::string() : escape(utf16_to_utf8(route.label));
    std::string hit;
    hit.reserve(prefix.size() + category.size() + label.size() + sizeof "&t=event&ec=&el=&cd3=y");
    hit.append(prefix).append("&t=event&ec=").append(category);
    // Also left out when nothing of the label could be encoded: an empty parameter is no part of a hit.
    if (!label.empty())
        hit.append("&el=").append(label);
    hit.append("&cd3=").append(is_regular_user ? "y" : "n");
    return hit; // by name: what append gives back would be copied
}

} // namespace OSTREL_NAMESPACE
