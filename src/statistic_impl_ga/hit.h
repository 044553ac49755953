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

/// The identity of an object with this id, application and version. The account at the collector and the name
/// of the running system are added.
hit_identity_t identify(const std::wstring& machine_id, const std::wstring& application_name,
                        const std::wstring& application_version);

/// The first part of every hit of one object: the common parameters, and the key of the category.
std::string compose_hit_prefix(const hit_identity_t& identity);

/// A complete hit. It has no event action and no event value.
/// @param prefix the result of compose_hit_prefix
std::string compose_event_hit(const std::string& prefix, const route_t& route, bool is_regular_user);

} // namespace OSTREL_NAMESPACE
