// Delivers hits to the collector in the background.
#pragma once

#include "http_connector/curl_session.h"
#include "ostrel/version.h"

#include <boost/thread/sync_queue.hpp>
#include <boost/thread/thread.hpp>

#include <string>
#include <vector>

namespace OSTREL_NAMESPACE {

/// Queues hits and posts them one by one from a thread of its own.
///
/// Best effort: no retry, no persistence, and after one hit has failed through every proxy candidate nothing
/// is sent any more for the rest of its life. Callers never learn the outcome.
class http_connector_t {
public:
    /// Starts the thread, which finds the proxies by itself: no network is touched here.
    explicit http_connector_t(const char* url);
    /// Blocks without a limit until the hits queued so far were handled, each bounded by 5 seconds a
    /// candidate.
    ~http_connector_t();
    http_connector_t(const http_connector_t&) = delete;
    http_connector_t& operator=(const http_connector_t&) = delete;

    /// Queues a hit and returns at once; any thread. An empty one stops the thread for good.
    void send(std::string hit);

    /// Percent-encodes @p text up to its first NUL, leaving the unreserved characters of RFC 3986; any
    /// thread.
    std::string escape(std::string text) const;

private:
    void run();
    void deliver_until_stopped();
    bool deliver(const std::string& hit);
    bool post_through(const std::string& proxy);

    const std::string m_url;
    boost::sync_queue<std::string> m_queue; ///< the only lock between callers and the thread
    curl_session_t m_curl;                  ///< transfers on the sending thread only
    std::vector<std::string> m_proxies;     ///< of the sending thread; an empty one is libcurl's own default
    std::size_t m_current = 0;              ///< of the sending thread: the candidate to try first
    bool m_active = true;                   ///< of the sending thread
    boost::thread m_thread;
};

} // namespace OSTREL_NAMESPACE
