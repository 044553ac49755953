// The sending thread and all that it works on.
#pragma once

#include "http_connector/curl_session.h"
#include "ostrel/version.h"

#include <boost/thread/sync_queue.hpp>
#include <boost/thread/thread.hpp>

#include <string>
#include <vector>

namespace OSTREL_NAMESPACE {

/// Takes hits off its queue and posts them one by one, first through the proxy candidate that worked last and
/// then through the others. After one hit has failed through all of them it only empties the queue.
class sender_t {
public:
    /// Starts the thread, which finds the proxies by itself.
    explicit sender_t(const char* url);
    /// Stops the thread behind the hits queued so far, and waits for it.
    ~sender_t(); // NOLINT(bugprone-exception-escape): only when memory is short
    sender_t(const sender_t&) = delete;
    sender_t& operator=(const sender_t&) = delete;

    /// Any thread. An empty hit stops the sending thread for good.
    void send(std::string hit);

    /// Any thread may have texts escaped with it; transfers are the sending thread's alone.
    CURL* handle() const { return m_curl.handle(); }

private:
    void run();
    void deliver_until_stopped();
    bool deliver(const std::string& hit);
    bool post_through(const std::string& proxy);

    const std::string m_url;
    boost::sync_queue<std::string> m_queue; ///< the only lock between callers and the thread
    curl_session_t m_curl;
    std::vector<std::string> m_proxies; ///< of the sending thread; an empty one is libcurl's own default
    std::size_t m_current = 0;          ///< of the sending thread: the candidate to try first
    bool m_active = true;               ///< of the sending thread
    boost::thread m_thread;
};

} // namespace OSTREL_NAMESPACE
