// Runs parts of tests as an ordinary user, because file modes do not restrict root.
#pragma once

#include <cstdio>
#include <filesystem>
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test_support {

constexpr uid_t ordinary_user = 65534;

/// Runs @p part in a child process, which owns @p folder; the child's failures are failures of the test. The
/// part must start no threads, and exceptions from it abort the child.
template <class Part>
void as_ordinary_user(const std::filesystem::path& folder, const Part& part) {
    const bool is_root = ::geteuid() == 0;
    ASSERT_TRUE(!is_root || ::chown(folder.c_str(), ordinary_user, ordinary_user) == 0);
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
        if (is_root &&
            (::setgroups(0, nullptr) != 0 || ::setgid(ordinary_user) != 0 || ::setuid(ordinary_user) != 0))
            ::_exit(2);
        [&part]() noexcept { part(); }(); // an exception must not leave the child
        std::fflush(nullptr);
        ::_exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

} // namespace test_support
