// Delivery on POSIX: the thread that initialises libcurl, and signals.
#include "http_connector/http_connector.h"
#include "ostrel/ostrel.h"
#include "support/collector.h"
#include "support/profile.h"

#include <csignal>
#include <curl/curl.h>
#include <dlfcn.h>

using namespace test_support;
using OSTREL_NAMESPACE::http_connector_t;

namespace {

struct posix_http_connector : testing::Test {
    const profile_t profile;
};

const std::thread::id host = std::this_thread::get_id();
texts_t initialising_threads; ///< callers of curl_global_init; read after the sending thread has ended
bool is_libcurl_old = false;

} // namespace

// These definitions are called instead of libcurl's.
CURLcode curl_global_init(long flags) {
    initialising_threads.emplace_back(std::this_thread::get_id() == host ? "host" : "sender");
    return reinterpret_cast<decltype(&curl_global_init)>(::dlsym(RTLD_NEXT, "curl_global_init"))(flags);
}

curl_version_info_data* curl_version_info(CURLversion version) {
    static curl_version_info_data data;
    data = *reinterpret_cast<decltype(&curl_version_info)>(::dlsym(RTLD_NEXT, "curl_version_info"))(version);
    data.features &= is_libcurl_old ? ~CURL_VERSION_THREADSAFE : ~0;
    return &data;
}

TEST_F(posix_http_connector, the_sending_thread_initialises_libcurl_if_collection_is_on) {
    const std::tuple<const char*, const char*, bool, bool, texts_t> cases[] = {
        {"no answer on file", "", false, false, {}},
        {"the user agrees", "", true, false, {"sender"}},
        {"the answer is on file", "", false, false, {"sender"}},
        {"switched off", "1", true, false, {}},
        {"libcurl is not thread-safe", "1", false, true, {"host"}}};
    for (const auto& [situation, disabling_switch, agrees, is_old, threads] : cases) {
        SCOPED_TRACE(situation);
        profile.set("NORVANE_DISABLE_FEEDBACK", disabling_switch);
        is_libcurl_old = is_old;
        initialising_threads.clear();
        statistic_handle_t* const handle = ostrel_create_statistic("product", "1");
        if (agrees)
            ostrel_set_statistic_collection_enabled(handle, 1);
        ostrel_destroy_statistic(handle);
        EXPECT_EQ(initialising_threads, threads);
    }
}

TEST_F(posix_http_connector, the_hosts_sigpipe_handler_stays_during_a_transfer) {
    std::atomic<bool> is_default{false};
    const collector_t collector([&is_default](const request_t&) {
        is_default = std::signal(SIGPIPE, SIG_DFL) == SIG_DFL;
        return 200U;
    });
    http_connector_t(collector.url().c_str()).send("hit");
    EXPECT_TRUE(is_default);
}
