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

/// Starts a thread that posts the queued hits one by one. The thread sleeps until the first call of prepare
/// or send. Then it initialises libcurl and finds the proxies.
class sender_t {
public:
    explicit sender_t(const char* url);
    /// Waits until the thread has handled every queued hit, and stops it. If neither prepare nor send was
    /// called, returns immediately.
    ~sender_t(); // NOLINT(bugprone-exception-escape): only if memory is short
    sender_t(const sender_t&) = delete;
    sender_t& operator=(const sender_t&) = delete;

    /// Lets the thread initialise libcurl and find the proxies before the first hit. Thread-safe.
    void prepare();

    /// Queues a hit. Thread-safe. An empty hit stops the sending thread permanently.
    void send(std::string&& hit);

private:
    void run();
    void initialise_libcurl();
    void prepare_once();

    const std::string m_url;
    /// The only synchronisation between callers and the thread. nullopt lets the thread prepare; an empty
    /// text stops it.
    boost::sync_queue<std::optional<std::string>> m_queue;
    /// Created by the sending thread or, if libcurl is not thread-safe, by the constructor. Used only by the
    /// sending thread.
    std::optional<curl_session_t> m_curl;
    std::optional<poster_t> m_poster; ///< used only by the sending thread
    bool m_is_prepared = false;       ///< used only by the sending thread
    boost::thread m_thread;
};

} // namespace OSTREL_NAMESPACE
