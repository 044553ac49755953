// What the benchmarks share: handles of measured hosts, and the hit that they send.
#pragma once

#include "server.h"
#include "workspace.h"

#include "ostrel/ostrel.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace bench {

using handle_t = std::unique_ptr<statistic_handle_t, decltype(&ostrel_destroy_statistic)>;

/// An object made with @p names in the filter, which the switch lets collect or not.
handle_t make_handle(int names, bool collecting = true);

/// The body that routed_name becomes, byte for byte.
std::string routed_hit();

struct environment_t {
    const workspace_t& workspace;
    const server_t& server;
};

/// Set by main before any benchmark runs.
const environment_t& environment();

/// The middle one of an odd number of values; of the two in the middle the greater one.
double median(std::vector<double> values);

/// Processor time of the calling thread, in seconds.
double thread_seconds();

constexpr int delivery_cpu = 0;

} // namespace bench
