// The sending thread and its queue.
#pragma once

#include "http_connector/curl_session.h"
#include "http_connector/poster.h"
#include "ostrel/version.h"

#include <boost/thread/sync_queue.hpp>
#include <boost/thread/thread.hpp>

#include <optional>
#include <string>

namespace OSTREL_NAMESPACE {

/// Starts a thread that posts the queued hits one by one. The thread initialises libcurl and asks for proxies
/// when it is told to prepare or takes its first hit; until then it sleeps.
class sender_t {
public:
    explicit sender_t(const char* url);
    /// Stops the thread after the hits queued so far, and waits for it. If the thread was not needed yet,
    /// that takes no time.
    ~sender_t(); // NOLINT(bugprone-exception-escape): only if memory is short
    sender_t(const sender_t&) = delete;
    sender_t& operator=(const sender_t&) = delete;

    /// Lets the thread prepare before the first hit; any thread.
    void prepare();

    /// Any thread. An empty hit stops the sending thread for good.
    void send(std::string&& hit);

private:
    void run();
    void initialise_libcurl();
    void prepare_once();

    const std::string m_url;
    /// The only synchronisation between callers and the thread. An item without a value asks the thread to
    /// prepare.
    boost::sync_queue<std::optional<std::string>> m_queue;
    std::optional<curl_session_t>
        m_curl; ///< used by the sending thread; if libcurl is not thread-safe, created by the constructor
    std::optional<poster_t> m_poster; ///< used by the sending thread; nothing until it has prepared
    bool m_is_prepared = false;       ///< used by the sending thread
    boost::thread m_thread;
};

} // namespace OSTREL_NAMESPACE
