// Settings that environment variables can override: the collector's URL and the maker's corporate domain.
#pragma once

#include "ostrel/version.h"

#include <string>

namespace OSTREL_NAMESPACE {

/// The built-in URL of the collector, or the environment variable OSTREL_COLLECTION_URL if it is set and not
/// empty.
std::string collection_url();

/// The built-in domain, or the environment variable OSTREL_CORPORATE_DOMAIN if it is set and not empty.
std::string corporate_domain();

} // namespace OSTREL_NAMESPACE
