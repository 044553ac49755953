// File modes, pipes and links.
#include "ostrel/datetime.h"
#include "ostrel/filelock.h"
#include "ostrel/ostrel.h"
#include "platform/files.h"
#include "support/profile.h"
#include "toolkit/kiln2/variant_bag.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace test_support;
namespace fs = std::filesystem;

namespace {

constexpr fs::perms user_only = fs::perms::owner_read | fs::perms::owner_write;

fs::perms mode_of(const fs::path& path) {
    return fs::status(path).permissions();
}

void make_pipe(const fs::path& path) {
    fs::create_directories(path.parent_path());
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
}

} // namespace

TEST(posix_files, what_the_library_creates_is_the_users_alone) {
    profile_t profile;
    const mode_t former = ::umask(0);
    statistic_handle_t* const handle = ostrel_create_statistic("product", "1");
    ostrel_set_statistic_collection_enabled(handle, 0);
    ostrel_notify_feature_usage(handle, "run.a");
    ostrel_destroy_statistic(handle);
    OSTREL_NAMESPACE::filelock_t lock(wide(profile.folder() / "data.xml"));
    EXPECT_TRUE(lock.lock());
    ::umask(former);
    for (const fs::path& file :
         {profile.virk(), profile.statistic_dir() / "uuid.xml",
          profile.statistic_dir() / "last_active_dates.xml", profile.folder() / "data.lock"})
        EXPECT_EQ(mode_of(file), user_only) << file;
}

TEST(posix_files, pipes_in_place_of_files_are_refused_and_block_nobody) {
    profile_t profile;
    profile.set("NORVANE_FORCE_UUID", "");
    for (const char* const name : {"uuid.xml", "uuid.xml.tmp", "last_active_dates.xml"})
        make_pipe(profile.statistic_dir() / name);
    make_pipe(profile.virk());
    statistic_handle_t* const handle = ostrel_create_statistic("product", "1");
    EXPECT_EQ(ostrel_should_ask_user_consent(handle), 1);
    ostrel_set_statistic_collection_enabled(handle, 1);
    EXPECT_EQ(ostrel_should_ask_user_consent(handle), 1);
    ostrel_destroy_statistic(handle);
    EXPECT_TRUE(fs::is_fifo(profile.virk()));
    kiln2::variant_bag_t bag;
    EXPECT_EQ(kiln2::load_variant_bag2(bag, wide(profile.virk()), L"bag", true), 0);
}

TEST(posix_files, a_link_in_the_drafts_place_is_not_followed) {
    const temporary_folder_t folder;
    fs::create_symlink(folder.path() / "victim", folder.path() / "bag.xml.tmp");
    EXPECT_FALSE(ostrel_platform::replace_file(wide(folder.path() / "bag.xml"), "new"));
    EXPECT_FALSE(fs::exists(folder.path() / "victim"));
}

TEST(posix_files, a_files_time_is_read_to_the_second_and_within_its_range) {
    const temporary_folder_t folder;
    const fs::path file = folder.path() / "file";
    write_file(file, "");
    const struct {
        std::time_t seconds;
        const wchar_t* text;
    } cases[] = {{1000000000, L"2001-09-09T01:46:40Z"},
                 {0, L"1970-01-01T00:00:00Z"},
                 {-1, L"1900-01-00T00:00:00Z"},
                 {-2, L"1900-01-00T00:00:00Z"}};
    for (const auto& [seconds, text] : cases) {
        const timespec times[2] = {{seconds, 999999999}, {seconds, 999999999}};
        ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
        EXPECT_EQ(OSTREL_NAMESPACE::datetime_t::file_time(wide(file)).as_string(), text);
    }
}
