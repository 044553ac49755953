// The text of a hit: Measurement Protocol version 1, hit type "event".
#pragma once

#include "ostrel/version.h"
#include "statistic_impl_ga/feature_route.h"

#include <string>

namespace OSTREL_NAMESPACE {

/// The parameters that all hits of one object share.
struct hit_identity_t {
    std::string tracking_id;
    std::wstring machine_id;
    std::wstring application_name;
    std::wstring application_version;
    std::wstring os_name;
};

/// Returns the common parameters of an object. The function adds the tracking id, which is built in, and the
/// name of the operating system.
hit_identity_t identify(const std::wstring& machine_id, const std::wstring& application_name,
                        const std::wstring& application_version);

/// Returns the first part of every hit of one object. The last key is "ec", the category, without its value.
std::string compose_hit_prefix(const hit_identity_t& identity);

/// Returns a complete hit. The hit has no event action and no event value.
/// @param prefix the result of compose_hit_prefix
std::string compose_event_hit(const std::string& prefix, const route_t& route, bool is_regular_user);

} // namespace OSTREL_NAMESPACE
