// The host's signals and the sending thread.
#include "http_connector/http_connector.h"
#include "support/collector.h"
#include "support/profile.h"

#include <csignal>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace test_support;

TEST(posix_signals, the_sending_thread_blocks_all_and_the_calling_one_keeps_its_mask) {
    profile_t profile;
    sigset_t none, all, mask;
    ::sigemptyset(&none);
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, nullptr);
    const collector_t collector;
    ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
    OSTREL_NAMESPACE::http_connector_t connector(collector.url().c_str());
    connector.send("hit");
    ASSERT_TRUE(collector.wait_for(1));
    ::pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    EXPECT_EQ(::sigismember(&mask, SIGTERM), 0);
    // With this thread's door shut too, a signal to the process has nowhere to go but to wait.
    ::pthread_sigmask(SIG_SETMASK, &all, nullptr);
    ::kill(::getpid(), SIGUSR1);
    int received = 0;
    EXPECT_EQ(::sigwait(&all, &received), 0);
    EXPECT_EQ(received, SIGUSR1);
    ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
}
