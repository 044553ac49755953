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

class http_connector : public testing::Test {
protected:
    profile_t profile;
};

} // namespace

TEST_F(http_connector, hits_up_to_an_empty_one_are_posted_in_order_on_one_connection_before_destruction) {
    const collector_t collector;
    texts_t hits;
    {
        http_connector_t connector(collector.url().c_str());
        for (int i = 0; i < 500; ++i)
            connector.send(hits.emplace_back("hit=" + std::to_string(i)));
        connector.send("");
        connector.send("after");
    }
    EXPECT_EQ(collector.bodies(), hits);
    for (const request_t& request : collector.requests()) {
        EXPECT_EQ(request.connection, 1);
        EXPECT_EQ(request.method + " " + request.target, "POST /collect");
        EXPECT_EQ(request.content_type + request.user_agent, "application/x-www-form-urlencoded");
    }
}

TEST_F(http_connector, every_status_but_200_switches_sending_off_for_good) {
    for (const unsigned status : {201U, 204U, 301U, 307U, 404U, 500U}) {
        SCOPED_TRACE(status);
        const collector_t collector(
            [status](const request_t& request) { return request.body == "second" ? status : 200U; });
        {
            http_connector_t connector(collector.url().c_str());
            for (const char* const hit : {"first", "second", "third", "fourth"})
                connector.send(hit);
        }
        EXPECT_EQ(collector.bodies(), (texts_t{"first", "second"}));
    }
}

TEST_F(http_connector, a_failed_candidate_hands_over_to_the_next_which_then_stays_the_first_to_try) {
    std::atomic<bool> named_fails{false}, default_fails{false};
    const collector_t named([&](const request_t&) { return named_fails ? 500U : 200U; });
    const collector_t by_default([&](const request_t&) { return default_fails ? 204U : 200U; });
    profile.set("http_proxy", "127.0.0.1:" + std::to_string(named.port()));
    {
        http_connector_t connector("http://collector.example/collect");
        connector.send("1");
        ASSERT_TRUE(named.wait_for(1));
        // The list of candidates is settled by now; the variable only says where the empty one leads.
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

TEST_F(http_connector, an_empty_variable_names_a_candidate_of_its_own) {
    profile.set("http_proxy", "");
    EXPECT_EQ(OSTREL_NAMESPACE::proxy_candidates("http://collector.example/collect"), (texts_t{"", ""}));
    profile.unset("http_proxy");
    EXPECT_EQ(OSTREL_NAMESPACE::proxy_candidates("http://collector.example/collect"), texts_t{""});
}

TEST_F(http_connector, a_host_that_interrupts_its_thread_does_not_interrupt_the_destruction) {
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

TEST_F(http_connector, a_server_that_never_answers_costs_one_timeout_whatever_is_queued) {
    std::promise<void> end;
    const collector_t silent([ended = end.get_future().share()](const request_t&) {
        ended.wait();
        return 200U;
    });
    const auto destroyed = std::async(std::launch::async, [&silent] {
        http_connector_t connector(silent.url().c_str());
        for (int i = 0; i < 1000; ++i)
            connector.send(std::to_string(i));
    });
    EXPECT_EQ(destroyed.wait_for(std::chrono::seconds(15)), std::future_status::ready);
    end.set_value();
    ASSERT_TRUE(silent.wait_for(1));
    EXPECT_EQ(silent.bodies(), texts_t{"0"});
}
