// The inter-process file lock.
#include "ostrel/filelock.h"

#include "support/profile.h"

#include <boost/process/child.hpp>
#include <gtest/gtest.h>

using namespace test_support;
using OSTREL_NAMESPACE::filelock_t;
namespace fs = std::filesystem;

namespace {

class filelock : public testing::Test {
protected:
    const temporary_folder_t folder;
    const fs::path data = folder.path() / "data.xml";
    const fs::path companion = folder.path() / "data.lock";
};

} // namespace

TEST_F(filelock, one_of_two_holds_the_lock_until_it_lets_go) {
    filelock_t first(wide(data));
    filelock_t second(wide(data));
    EXPECT_FALSE(first.is_locked() || fs::exists(companion));
    EXPECT_TRUE(first.lock() && first.lock() && first.is_locked());
    EXPECT_EQ(read_file(companion), "");
    EXPECT_FALSE(second.lock() || second.is_locked());
    second.unlock();
    EXPECT_TRUE(fs::exists(companion));
    first.unlock();
    EXPECT_FALSE(first.is_locked() || fs::exists(companion) || fs::exists(data));
    EXPECT_TRUE(second.lock());
}

TEST_F(filelock, destruction_deletes_only_a_lock_that_is_held) {
    {
        filelock_t held(wide(data));
        ASSERT_TRUE(held.lock());
        const filelock_t idle(wide(data));
    }
    EXPECT_FALSE(fs::exists(companion));
    write_file(companion, "somebody else's");
    { EXPECT_FALSE(filelock_t(wide(data)).lock()); }
    EXPECT_EQ(read_file(companion), "somebody else's");
}

TEST_F(filelock, a_copy_believes_that_it_holds_the_lock_too) {
    filelock_t first(wide(data));
    ASSERT_TRUE(first.lock());
    filelock_t copy(first);
    filelock_t assigned(std::wstring(L"elsewhere.xml"));
    assigned = first;
    EXPECT_TRUE(copy.is_locked() && assigned.is_locked());
    copy.unlock();
    EXPECT_FALSE(fs::exists(companion));
    EXPECT_TRUE(first.is_locked() && first.lock());
    EXPECT_FALSE(fs::exists(companion));
}

TEST_F(filelock, a_missing_folder_cannot_be_locked) {
    EXPECT_FALSE(filelock_t(wide(folder.path() / "missing" / "data.xml")).lock());
}

TEST_F(filelock, processes_exclude_each_other) {
    write_file(data, "0");
    std::vector<boost::process::child> others;
    for (int i = 0; i < 3; ++i)
        others.emplace_back(OTHER_PROCESS, "count", data.string());
    for (auto& other : others) {
        other.wait();
        EXPECT_EQ(other.exit_code(), 0);
    }
    EXPECT_EQ(read_file(data), "150");
}

TEST_F(filelock, a_lock_of_a_crashed_process_stays_until_it_is_deleted_by_hand) {
    boost::process::child other(OTHER_PROCESS, "crash", data.string());
    other.wait();
    EXPECT_EQ(other.exit_code(), 3);
    filelock_t lock(wide(data));
    EXPECT_FALSE(lock.lock());
    fs::remove(companion);
    EXPECT_TRUE(lock.lock());
}
