// The text of a hit: Measurement Protocol version 1, hit type "event".
#include "statistic_impl_ga/hit.h"

#include "http_connector/percent_encode.h"
#include "platform/os_name.h"
#include "toolkit/quillkit/strings.h"

namespace OSTREL_NAMESPACE {

namespace {

using quillkit::strings::utf16_to_utf8;

std::wstring get_os_name() {
    return ostrel_platform::os_product_name().value_or(L"Undefined Windows Version");
}

} // namespace

hit_identity_t identify(const std::wstring& machine_id, const std::wstring& application_name,
                        const std::wstring& application_version) {
    return {"UA-40271936-07", machine_id, application_name, application_version, get_os_name()};
}

std::string compose_hit_prefix(const hit_identity_t& identity) {
    std::string prefix = "v=1&tid=" + identity.tracking_id;
    // Machine id and version are not percent-encoded, because existing collectors expect them unencoded.
    prefix.append("&cid=").append(utf16_to_utf8(identity.machine_id));
    append_percent_encoded(prefix.append("&an="), identity.application_name);
    prefix.append("&av=").append(utf16_to_utf8(identity.application_version));
    // Collectors group hits by this value. It is "win32" on every system, so that all hits form one group.
    append_percent_encoded(prefix.append("&cd1="), L"win32");
    append_percent_encoded(prefix.append("&cd2="), identity.os_name);
    return prefix.append("&t=event&ec=");
}

std::string compose_event_hit(const std::string& prefix, const route_t& route, bool is_regular_user) {
    std::string hit;
    // One allocation is enough unless many characters must be percent-encoded.
    constexpr std::size_t extra_capacity = sizeof "&el=&cd3=y" + 16;
    hit.reserve(prefix.size() + route.category.size() + route.label.size() + extra_capacity);
    append_percent_encoded(hit.append(prefix), route.category);
    if (!route.label.empty())
        append_percent_encoded(hit.append("&el="), route.label);
    hit.append(is_regular_user ? "&cd3=y" : "&cd3=n");
    return hit;
}

} // namespace OSTREL_NAMESPACE
