// What a deployment may set: where hits go, and which domain tells the maker's own network.
#pragma once

#include "ostrel/version.h"

#include <string>

namespace OSTREL_NAMESPACE {

/// The built-in endpoint, or the environment variable OSTREL_COLLECTION_URL if it is set and not empty.
std::string collection_url();

/// The built-in domain, or the environment variable OSTREL_CORPORATE_DOMAIN if it is set and not empty.
std::string corporate_domain();

} // namespace OSTREL_NAMESPACE
