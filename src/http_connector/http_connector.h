// Delivers hits to the collector in the background.
#pragma once

#include "http_connector/sender.h"
#include "ostrel/version.h"

#include <cstdint>
#include <memory>
#include <string>

namespace OSTREL_NAMESPACE {

/// Queues hits for a sending thread of its own.
///
/// Best effort: no retry, no persistence, and after one hit has failed through every proxy candidate nothing
/// is sent any more for the rest of its life. Callers never learn the outcome.
///
/// In a forked child the thread does not exist: what was inherited drops every hit there, and goes without
/// waiting and without touching what the parent may have held at the fork.
class http_connector_t {
public:
    /// No network is touched here.
    explicit http_connector_t(const char* url);
    /// Blocks without a limit until the hits queued so far were handled, each bounded by 5 seconds a
    /// candidate.
    ~http_connector_t();
    http_connector_t(const http_connector_t&) = delete;
    http_connector_t& operator=(const http_connector_t&) = delete;

    /// Queues a hit and returns at once; any thread. An empty one stops the sending for good.
    void send(std::string hit);

    /// Percent-encodes @p text up to its first NUL, leaving the unreserved characters of RFC 3986; any
    /// thread.
    std::string escape(std::string text) const;

private:
    bool is_inherited() const;

    const std::uint32_t m_fork_generation;
    std::unique_ptr<sender_t> m_sender;
};

} // namespace OSTREL_NAMESPACE
