// Owner of libcurl's global state and of one easy handle.
#pragma once

#include "ostrel/version.h"

#include <curl/curl.h>

namespace OSTREL_NAMESPACE {

/// Whether libcurl's global state may be initialised while other threads run. Older versions, and builds for
/// systems without atomics, do not allow that.
inline bool is_curl_thread_safe() {
    return (curl_version_info(CURLVERSION_NOW)->features & CURL_VERSION_THREADSAFE) != 0;
}

/// Owns one reference to libcurl's global state and one easy handle.
class curl_session_t {
public:
    curl_session_t() {
        curl_global_init(CURL_GLOBAL_ALL);
        m_handle = curl_easy_init();
    }
    ~curl_session_t() {
        curl_easy_cleanup(m_handle);
        curl_global_cleanup();
    }
    curl_session_t(const curl_session_t&) = delete;
    curl_session_t& operator=(const curl_session_t&) = delete;

    /// Null if libcurl could not create the handle.
    CURL* handle() const { return m_handle; }

private:
    CURL* m_handle = nullptr;
};

} // namespace OSTREL_NAMESPACE
