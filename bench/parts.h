// Shared by the benchmarks: handles of measured hosts, and the hit that they send.
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

/// Creates an object with @p names names in the filter. An environment variable switches collection on or
/// off.
handle_t make_handle(int names, bool collecting = true);

/// The body of the hit for routed_name, byte for byte.
std::string routed_hit();

struct environment_t {
    const workspace_t& workspace;
    const server_t& server;
};

/// Set by main before any benchmark runs.
const environment_t& environment();

/// If the number of values is even, returns the greater of the two in the middle.
double median(std::vector<double> values);

/// Processor time of the calling thread, in seconds.
double thread_seconds();

constexpr int delivery_cpu = 0;

} // namespace bench
