// Delivery on POSIX: the thread that initialises libcurl, signals, and forked children.
#include "http_connector/http_connector.h"
#include "ostrel/ostrel.h"
#include "support/collector.h"
#include "support/profile.h"

#include <csignal>
#include <curl/curl.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <mutex>
#include <sys/wait.h>
#include <unistd.h>

using namespace test_support;
using OSTREL_NAMESPACE::http_connector_t;

namespace {

std::mutex mutex;
std::vector<std::thread::id> initialising_threads; ///< guarded by mutex
bool is_libcurl_old = false;

} // namespace

// These definitions precede libcurl's own.
CURLcode curl_global_init(long flags) {
    const std::lock_guard<std::mutex> lock(mutex);
    initialising_threads.push_back(std::this_thread::get_id());
    return reinterpret_cast<decltype(&curl_global_init)>(::dlsym(RTLD_NEXT, "curl_global_init"))(flags);
}

curl_version_info_data* curl_version_info(CURLversion version) {
    using function_t = decltype(&curl_version_info);
    static curl_version_info_data data;
    data = *reinterpret_cast<function_t>(::dlsym(RTLD_NEXT, "curl_version_info"))(version);
    if (is_libcurl_old)
        data.features &= ~CURL_VERSION_THREADSAFE;
    return &data;
}

namespace {

struct posix_http_connector : testing::Test {
    /// @return the threads that initialised libcurl while one object lived
    template <class Use>
    static std::vector<std::thread::id> initialised_by(const Use& use) {
        initialising_threads.clear();
        statistic_handle_t* const handle = ostrel_create_statistic("product", "1");
        use(handle);
        ostrel_destroy_statistic(handle);
        return initialising_threads;
    }

    profile_t profile;
};

} // namespace

TEST_F(posix_http_connector, the_sending_thread_initialises_libcurl_once_it_collects) {
    const auto nothing = [](statistic_handle_t*) {};
    const auto agree = [](statistic_handle_t* handle) { ostrel_set_statistic_collection_enabled(handle, 1); };
    EXPECT_TRUE(initialised_by(nothing).empty()) << "no answer on file";
    const auto agreed = initialised_by(agree);
    ASSERT_EQ(agreed.size(), 1U);
    EXPECT_NE(agreed[0], std::this_thread::get_id());
    EXPECT_EQ(initialised_by(nothing).size(), 1U) << "the answer is on file";
    profile.set("NORVANE_DISABLE_FEEDBACK", "1");
    EXPECT_TRUE(initialised_by(agree).empty()) << "switched off";
    is_libcurl_old = true;
    EXPECT_EQ(initialised_by(nothing), std::vector{std::this_thread::get_id()});
    is_libcurl_old = false;
}

TEST_F(posix_http_connector, the_first_hit_initialises_libcurl_if_needed) {
    const collector_t collector;
    initialising_threads.clear();
    http_connector_t(collector.url().c_str()).send("hit");
    EXPECT_EQ(initialising_threads.size(), 1U);
    EXPECT_EQ(collector.bodies(), texts_t{"hit"});
}

TEST_F(posix_http_connector, the_hosts_sigpipe_handler_stays_during_a_transfer) {
    std::atomic<bool> is_default{false};
    const collector_t collector([&is_default](const request_t&) {
        struct sigaction current {};
        ::sigaction(SIGPIPE, nullptr, &current);
        is_default = current.sa_handler == SIG_DFL;
        return 200U;
    });
    http_connector_t(collector.url().c_str()).send("hit");
    EXPECT_TRUE(is_default);
}

TEST_F(posix_http_connector, a_forked_child_neither_sends_nor_waits) {
    const collector_t collector;
    auto connector = std::make_unique<http_connector_t>(collector.url().c_str());
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(20);
        connector->prepare();
        connector->send("inherited");
        connector.reset();
        ::_exit(0);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    connector->send("hit");
    connector.reset();
    EXPECT_EQ(collector.bodies(), texts_t{"hit"});
}
