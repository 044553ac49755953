// Delivery: the queue, the sending thread, proxy candidates and the switch-off, against real servers.
#include "http_connector/http_connector.h"

#include "http_connector/proxy_discovery.h"
#include "support/collector.h"
#include "support/profile.h"

#include <algorithm>
#include <boost/thread/thread.hpp>
#include <future>

using namespace test_support;
using OSTREL_NAMESPACE::http_connector_t, OSTREL_NAMESPACE::proxy_candidates;

namespace {

struct http_connector : testing::Test {
    const profile_t profile;
};

/// Sends the hits through a temporary object. Its destructor waits until they are sent.
void deliver(const collector_t& collector, const texts_t& hits) {
    http_connector_t connector(collector.url().c_str());
    for (const std::string& hit : hits)
        connector.send(hit);
}

/// Answers these hits with the status, and others with 200.
collector_t::judge_t refuse(const texts_t& hits, unsigned status) {
    return [=](const request_t& request) {
        return std::count(hits.begin(), hits.end(), request.body) == 0 ? 200U : status;
    };
}

} // namespace

TEST_F(http_connector, one_connection_sends_hits_in_order_and_stops_at_an_empty_hit) {
    const collector_t collector;
    texts_t hits;
    for (int i = 0; i < 500; ++i)
        hits.push_back("hit=" + std::to_string(i));
    deliver(collector, hits + texts_t{"", "after"});
    EXPECT_EQ(collector.bodies(), hits);
    const request_t last = collector.requests().back();
    EXPECT_EQ(last.connection, 1);
    EXPECT_EQ(last.method + " " + last.target, "POST /collect");
    EXPECT_EQ(last.content_type + last.user_agent, "application/x-www-form-urlencoded");
}

TEST_F(http_connector, every_status_but_200_switches_sending_off) {
    for (const unsigned status : {201U, 204U, 301U, 307U, 404U, 500U}) {
        SCOPED_TRACE(status);
        const collector_t collector(refuse({"second"}, status));
        deliver(collector, {"first", "second", "third", "fourth"});
        EXPECT_EQ(collector.bodies(), (texts_t{"first", "second"}));
    }
}

TEST_F(http_connector, a_failing_proxy_is_replaced_by_the_next_until_all_fail) {
    const collector_t named(refuse({"2", "5"}, 500)), by_default(refuse({"4", "5"}, 204));
    profile.set("http_proxy", "127.0.0.1:" + std::to_string(named.port()));
    {
        http_connector_t connector("http://collector.example/collect");
        connector.send("1");
        ASSERT_TRUE(named.wait_for(1));
        // The empty candidate leaves the choice to libcurl, which then reads the variable again.
        profile.set("http_proxy", "127.0.0.1:" + std::to_string(by_default.port()));
        for (const char* const hit : {"2", "3", "4", "5", "dropped"})
            connector.send(hit);
    }
    EXPECT_EQ(named.bodies(), (texts_t{"1", "2", "4", "5"}));
    EXPECT_EQ(by_default.bodies(), (texts_t{"2", "3", "4", "5"}));
    EXPECT_EQ(named.requests()[0].target, "http://collector.example/collect");
}

TEST_F(http_connector, an_empty_proxy_variable_counts_as_a_candidate) {
    EXPECT_EQ(proxy_candidates("http://collector.example/collect"), texts_t{""});
    profile.set("http_proxy", "");
    EXPECT_EQ(proxy_candidates("http://collector.example/collect"), (texts_t{"", ""}));
}

TEST_F(http_connector, a_thread_interruption_does_not_interrupt_destruction) {
    const collector_t collector;
    boost::thread host([&] {
        wait_until(&boost::this_thread::interruption_requested);
        deliver(collector, {"hit"});
    });
    host.interrupt();
    host.join();
    EXPECT_EQ(collector.bodies(), texts_t{"hit"});
}

TEST_F(http_connector, a_silent_server_delays_destruction_by_one_timeout_only) {
    std::promise<void> end;
    const collector_t silent([ended = end.get_future().share()](const request_t&) {
        ended.wait();
        return 200U;
    });
    const auto destroyed = std::async(std::launch::async, [&] { deliver(silent, texts_t(1000, "hit")); });
    EXPECT_EQ(destroyed.wait_for(std::chrono::seconds(15)), std::future_status::ready);
    end.set_value();
    ASSERT_TRUE(silent.wait_for(1));
    EXPECT_EQ(silent.bodies().size(), 1U);
}
