// Delivery: the queue, the sending thread, proxy candidates and the switch-off, against real servers.
#include "http_connector/http_connector.h"
#include "http_connector/proxy_discovery.h"

#include "support/collector.h"
#include "support/profile.h"

#include <atomic>
#include <boost/thread/thread.hpp>
#include <chrono>
#include <future>
#include <gtest/gtest.h>

using namespace test_support;
using OSTREL_NAMESPACE::http_connector_t;

namespace {

struct http_connector : testing::Test {
    /// Sends the hits through an object that lives no longer.
    static void deliver(const collector_t& collector, const texts_t& hits) {
        http_connector_t connector(collector.url().c_str());
        for (const std::string& hit : hits)
            connector.send(hit);
    }

    profile_t profile;
};

} // namespace

TEST_F(http_connector, hits_are_posted_in_order_on_one_connection_until_an_empty_one) {
    const collector_t collector;
    texts_t hits(500, "hit=");
    for (std::size_t i = 0; i < hits.size(); ++i)
        hits[i] += std::to_string(i);
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
        const collector_t collector(
            [status](const request_t& request) { return request.body == "second" ? status : 200U; });
        deliver(collector, {"first", "second", "third", "fourth"});
        EXPECT_EQ(collector.bodies(), (texts_t{"first", "second"}));
    }
}

TEST_F(http_connector, a_failed_proxy_candidate_is_replaced_by_the_next_for_good) {
    std::atomic<bool> named_fails{false}, default_fails{false};
    const collector_t named([&](const request_t&) { return named_fails ? 500U : 200U; });
    const collector_t by_default([&](const request_t&) { return default_fails ? 204U : 200U; });
    profile.set("http_proxy", "127.0.0.1:" + std::to_string(named.port()));
    {
        http_connector_t connector("http://collector.example/collect");
        connector.send("1");
        ASSERT_TRUE(named.wait_for(1));
        // Read again only for the empty candidate, which stands for libcurl's own choice.
        profile.set("http_proxy", "127.0.0.1:" + std::to_string(by_default.port()));
        named_fails = true;
        connector.send("2");
        connector.send("3");
        ASSERT_TRUE(by_default.wait_for(2));
        named_fails = false;
        default_fails = true;
        connector.send("4");
        ASSERT_TRUE(named.wait_for(3));
        named_fails = true;
        connector.send("5");
        connector.send("dropped");
    }
    EXPECT_EQ(named.bodies(), (texts_t{"1", "2", "4", "5"}));
    EXPECT_EQ(by_default.bodies(), (texts_t{"2", "3", "4", "5"}));
    EXPECT_EQ(named.requests()[0].target, "http://collector.example/collect");
}

TEST_F(http_connector, an_empty_proxy_variable_counts_as_a_candidate) {
    profile.set("http_proxy", "");
    EXPECT_EQ(OSTREL_NAMESPACE::proxy_candidates("http://collector.example/collect"), (texts_t{"", ""}));
    profile.unset("http_proxy");
    EXPECT_EQ(OSTREL_NAMESPACE::proxy_candidates("http://collector.example/collect"), texts_t{""});
}

TEST_F(http_connector, a_thread_interruption_does_not_interrupt_destruction) {
    const collector_t collector;
    std::promise<void> interrupted;
    boost::thread host([&] {
        http_connector_t connector(collector.url().c_str());
        connector.send("hit");
        interrupted.get_future().wait();
    });
    host.interrupt();
    interrupted.set_value();
    host.join();
    EXPECT_EQ(collector.bodies(), texts_t{"hit"});
}

TEST_F(http_connector, a_silent_server_costs_one_timeout_whatever_is_queued) {
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
