// Files on POSIX: links, modes, owners, temporary files, and the order of system calls.
#include "foundations/folders.h"
#include "platform/files.h"
#include "statistic_impl/last_active_dates.h"
#include "support/posix/user.h"
#include "support/profile.h"

#include <csignal>
#include <fcntl.h>
#include <functional>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>

using namespace test_support;
using namespace testing;
using OSTREL_NAMESPACE::create_folders;
using ostrel_platform::overwrite_file;
using ostrel_platform::replace_file;

namespace {

// Called before flock and fsync, and instead of nanosleep. An error number makes flock or fsync fail.
std::function<int()> before_flock, before_fsync, in_place_of_a_pause;

int call(const std::function<int()>& before, long number, int descriptor, int operation) {
    errno = before ? before() : 0;
    return errno != 0 ? -1 : static_cast<int>(::syscall(number, descriptor, operation));
}

} // namespace

// These definitions are called instead of those of the C library.
extern "C" int flock(int descriptor, int operation) noexcept {
    return call(before_flock, SYS_flock, descriptor, operation);
}
extern "C" int fsync(int descriptor) {
    return call(before_fsync, SYS_fsync, descriptor, 0);
}
extern "C" int nanosleep(const timespec* time, timespec* rest) {
    return in_place_of_a_pause ? in_place_of_a_pause()
                               : static_cast<int>(::syscall(SYS_nanosleep, time, rest));
}

namespace {

constexpr bool (*writers[])(const std::wstring&, std::string_view) = {&replace_file, &overwrite_file};

struct posix_files : Test {
    ~posix_files() override { before_flock = before_fsync = in_place_of_a_pause = nullptr; }

    static struct stat status_of(const fs::path& path) {
        struct stat status {};
        ::lstat(path.c_str(), &status);
        return status;
    }
    static unsigned mode_of(const fs::path& path) { return status_of(path).st_mode & 07777U; }
    std::ptrdiff_t entries() const { return std::distance(fs::directory_iterator(folder), {}); }
    bool replace(std::string_view bytes) const { return replace_file(wide(file), bytes); }
    bool overwrite(std::string_view bytes) const { return overwrite_file(wide(file), bytes); }

    const profile_t profile;
    const fs::path folder = profile.local_app_data();
    const fs::path file = folder / "file", temporary = folder / "file.tmp";
};

} // namespace

TEST_F(posix_files, a_link_stays_and_its_target_is_replaced_or_created) {
    const fs::path target = folder / "elsewhere" / "target";
    write_file(target, "old");
    ::chmod(target.c_str(), 0640);
    const uid_t owner = ::geteuid() == 0 ? ordinary_user : ::geteuid(); // if root: another user's file
    ASSERT_EQ(::chown(target.c_str(), owner, ::getegid()), 0);
    fs::create_symlink("elsewhere/second", file);
    fs::create_symlink(target, folder / "elsewhere" / "second");
    for (const auto& write : writers) {
        SCOPED_TRACE(write == &replace_file ? "replace" : "overwrite");
        const ino_t former = status_of(target).st_ino;
        EXPECT_TRUE(write(wide(file), "new"));
        EXPECT_EQ(read_file(target), "new");
        EXPECT_NE(status_of(target).st_ino, former);
        EXPECT_EQ(mode_of(target), 0640U);
        EXPECT_EQ(status_of(target).st_uid, owner);
    }
    fs::remove(target);
    EXPECT_TRUE(replace("dangling"));
    EXPECT_EQ(read_file(target), "dangling");
    EXPECT_EQ(mode_of(target), 0600U);
    EXPECT_TRUE(fs::is_symlink(file));
    EXPECT_EQ(entries(), 2);
}

TEST_F(posix_files, a_file_whose_owner_cannot_be_kept_becomes_private) {
    write_file(file, "old");
    ::chmod(file.c_str(), 0666);
    as_ordinary_user(folder, [&] { EXPECT_TRUE(replace("new")); });
    EXPECT_EQ(mode_of(file), ::geteuid() == 0 ? 0600U : 0666U);
}

// Runs as an ordinary user: if the library were wrong, root could replace the device /dev/null itself.
TEST_F(posix_files, read_only_targets_and_special_files_stay_unchanged) {
    as_ordinary_user(folder, [&] {
        ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
        const int reader = ::open((folder / "pipe").c_str(), O_RDONLY | O_NONBLOCK);
        write_file(folder / "read-only", "old");
        ::chmod((folder / "read-only").c_str(), 0444);
        for (const char* const target : {"read-only", "pipe", "/dev/null", ".", "file"}) {
            SCOPED_TRACE(target);
            fs::create_symlink(target, file);
            EXPECT_FALSE(replace("new"));
            EXPECT_FALSE(overwrite("new"));
            EXPECT_EQ(entries(), 3);
            fs::remove(file);
        }
        EXPECT_EQ(read_file(folder / "read-only"), "old");
        EXPECT_TRUE(fs::is_fifo(folder / "pipe"));
        ::close(reader);
    });
}

TEST_F(posix_files, an_answer_is_written_in_place_in_a_read_only_folder) {
    as_ordinary_user(folder, [&] {
        const fs::path target = folder / "closed" / "target";
        write_file(target, "0 and more");
        fs::create_symlink(target, file);
        ::chmod((folder / "closed").c_str(), 0555);
        EXPECT_FALSE(replace("1"));
        EXPECT_EQ(read_file(target), "0 and more");
        EXPECT_TRUE(overwrite("1"));
        EXPECT_EQ(read_file(target), "1");
    });
}

TEST_F(posix_files, a_temporary_file_that_cannot_be_opened_is_removed) {
    const fs::path victim = folder / "victim";
    write_file(victim, "victim's");
    ::chmod(victim.c_str(), 0666);
    const std::function<void()> obstacles[] = {
        [&] { ::close(::open(temporary.c_str(), O_CREAT, 0600)); }, // root's file, if root runs the tests
        [&] { ::mkfifo(temporary.c_str(), 0666); },
        [&] { fs::create_symlink(victim, temporary); },
    };
    for (const auto& create_obstacle : obstacles) {
        SCOPED_TRACE(&create_obstacle - obstacles);
        create_obstacle();
        as_ordinary_user(folder, [&] { EXPECT_TRUE(replace("new")); });
        EXPECT_EQ(read_file(victim), "victim's");
        EXPECT_EQ(entries(), 2);
    }
}

TEST_F(posix_files, another_writers_temporary_file_is_left_alone) {
    write_file(temporary, "theirs");
    const int other = ::open(temporary.c_str(), O_WRONLY);
    ASSERT_EQ(::syscall(SYS_flock, other, LOCK_EX), 0);
    EXPECT_FALSE(replace("ours"));
    EXPECT_EQ(read_file(temporary), "theirs");
    in_place_of_a_pause = [&] { return ::close(other); };
    EXPECT_TRUE(overwrite("answer")) << "waits for the other writer";
    write_file(temporary, "theirs");
    before_flock = [&] { // the other writer finishes after we have opened its temporary file
        fs::rename(temporary, file);
        return 0;
    };
    EXPECT_FALSE(replace("ours"));
    EXPECT_EQ(read_file(file), "theirs");
    before_flock = [] { return ENOLCK; };
    EXPECT_TRUE(replace("ours")) << "on a file system without locks";
}

TEST_F(posix_files, bytes_are_synchronised_before_the_rename) {
    texts_t seen;
    int error = 0;
    before_fsync = [&] {
        seen.push_back(read_file(file).value_or("none") + ", " + read_file(temporary).value_or("none"));
        return error;
    };
    EXPECT_TRUE(replace("new"));
    EXPECT_TRUE(overwrite("newer"));
    fs::remove(file);
    EXPECT_TRUE(overwrite("new"));
    EXPECT_THAT(seen, ElementsAre("none, new", "new, newer", "none, new"));
    error = EIO;
    EXPECT_FALSE(replace("newest"));
    EXPECT_EQ(read_file(file), "new");
    fs::remove(file);
    EXPECT_FALSE(overwrite("newest"));
    EXPECT_EQ(entries(), 0);
}

TEST_F(posix_files, an_answer_that_does_not_fit_on_the_disk_is_not_saved) {
    write_file(file, "0");
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit former{};
    ::getrlimit(RLIMIT_FSIZE, &former);
    const rlimit full{0, former.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &full);
    const bool is_saved = overwrite_file(wide(file), "1");
    ::setrlimit(RLIMIT_FSIZE, &former);
    std::signal(SIGXFSZ, SIG_DFL);
    EXPECT_FALSE(is_saved);
    EXPECT_EQ(read_file(file), "0");
}

TEST_F(posix_files, new_entries_are_private_and_existing_modes_are_kept) {
    ::chmod(folder.c_str(), 0755);
    as_ordinary_user(folder, [&] {
        const mode_t former = ::umask(0777);
        create_folders(wide(folder / "a" / "b" / ".." / "c"));
        ::umask(0);
        create_folders(wide(folder / "d"));
        EXPECT_TRUE(ostrel_platform::create_exclusively(wide(folder / "lock")));
        ::umask(former);
        EXPECT_EQ(mode_of(folder / "lock"), 0600U);
        for (const char* const made : {"a", "a/b", "a/c", "d"})
            EXPECT_EQ(mode_of(folder / made), 0700U) << made;
        write_file(file, "");
        EXPECT_THROW(create_folders(wide(file / "inside")), std::exception);
        EXPECT_THROW(create_folders(wide(file)), std::exception);
    });
    EXPECT_EQ(mode_of(folder), 0755U);
}

TEST_F(posix_files, loading_tries_a_held_lock_five_times_and_saving_once) {
    int pauses = 0;
    in_place_of_a_pause = [&] { return ++pauses, 0; };
    write_file(folder / "last_active_dates.lock", "");
    OSTREL_NAMESPACE::last_active_dates_t dates(wide(folder));
    EXPECT_EQ(pauses, 5);
    dates.add_today();
    EXPECT_FALSE(dates.save());
    EXPECT_EQ(pauses, 5);
}
