// Delivers hits to the collector in the background.
#pragma once

#include "http_connector/sender.h"
#include "ostrel/version.h"

#include <cstdint>
#include <memory>
#include <string>

namespace OSTREL_NAMESPACE {

/// Keeps the sending thread to the process that started it.
///
/// Delivery is best effort: there is no retry and no persistence, and once a hit has failed through every
/// proxy candidate, nothing is sent any more. Callers never learn the outcome.
///
/// A forked child has no sending thread. There an inherited object drops every hit, and its destructor
/// neither waits nor touches what another thread of the parent may have held at the fork.
class http_connector_t {
public:
    /// Starts the sending thread, which does nothing yet. Touches no network.
    explicit http_connector_t(const char* url);
    /// Blocks until the hits queued so far were handled, each bounded by 5 seconds a candidate. There is no
    /// overall timeout.
    ~http_connector_t();
    http_connector_t(const http_connector_t&) = delete;
    http_connector_t& operator=(const http_connector_t&) = delete;

    /// Says that hits may follow: the sending thread initialises libcurl and asks for proxies. Without this
    /// call the first hit does the same. Any thread, any number of times; returns immediately.
    void prepare();

    /// Queues a hit and returns immediately; any thread. An empty hit stops the sending thread for good.
    void send(std::string hit);

private:
    bool is_inherited() const;

    const std::uint32_t m_fork_generation;
    std::unique_ptr<sender_t> m_sender;
};

} // namespace OSTREL_NAMESPACE
