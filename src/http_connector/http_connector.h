// Delivers hits to the collector in the background.
#pragma once

#include "http_connector/sender.h"
#include "ostrel/version.h"

#include <cstdint>
#include <memory>
#include <string>

namespace OSTREL_NAMESPACE {

/// Owns the sending thread, and protects forked children, which have no sending thread.
///
/// Delivery is best effort: hits are not stored and not sent again. If a hit fails through every proxy
/// candidate, the object drops all later hits. Callers get no result.
///
/// In a forked child, an inherited object drops every hit. Its destructor does not wait and takes no lock,
/// because the parent may have held the lock at the fork.
class http_connector_t {
public:
    /// Starts the sending thread, which sleeps until the first prepare or send. Does not use the network.
    explicit http_connector_t(const char* url);
    /// Blocks until every queued hit is posted or dropped. The timeout is 5 seconds for each hit and proxy
    /// candidate. There is no overall timeout.
    ~http_connector_t();
    http_connector_t(const http_connector_t&) = delete;
    http_connector_t& operator=(const http_connector_t&) = delete;

    /// Lets the sending thread initialise libcurl and find the proxies before the first hit. Without this
    /// call, the first hit starts the initialisation. Returns immediately. Thread-safe; may be called more
    /// than once.
    void prepare();

    /// Queues a hit and returns immediately. Thread-safe. An empty hit stops the sending thread permanently.
    void send(std::string hit);

private:
    bool is_inherited() const;

    const std::uint32_t m_fork_generation;
    std::unique_ptr<sender_t> m_sender;
};

} // namespace OSTREL_NAMESPACE
