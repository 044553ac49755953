// The inspection tool on POSIX: modes, a full disk and signals.
#include "support/posix/user.h"
#include "support/profile.h"

#include <cstdlib>

using namespace test_support;

TEST(ostrelctl_on_posix, the_answer_is_recorded_even_if_it_cannot_be_read_or_shown) {
    const profile_t profile;
    fs::permissions(profile.folder(), fs::perms(0755));
    const std::string tool = profile.folder() / "ostrelctl"; // within reach of the ordinary user
    fs::copy_file(OSTRELCTL, tool);
    as_ordinary_user(profile.local_app_data(), [&] {
        const std::string output = "'" + (profile.local_app_data() / "output").string() + "'";
        write_file(profile.virk(), "1");
        fs::permissions(profile.virk(), fs::perms(0200));
        EXPECT_EQ(std::system((tool + " consent no >" + output).c_str()), 0);
        const std::string shown = *read_file(profile.local_app_data() / "output");
        EXPECT_NE(shown.find("no was written, but products cannot read it"), std::string::npos) << shown;
        fs::permissions(profile.virk(), fs::perms(0600));
        EXPECT_EQ(read_file(profile.virk()), "0");
        EXPECT_EQ(WEXITSTATUS(std::system((tool + " consent yes 2>" + output + " >/dev/full").c_str())), 2);
        EXPECT_EQ(read_file(profile.local_app_data() / "output"),
                  "ostrelctl: standard output cannot be written; the answer was recorded\n");
        EXPECT_EQ(read_file(profile.virk()), "1");
        fs::permissions(profile.virk(), fs::perms(0400));
        fs::permissions(profile.company(), fs::perms(0500));
        EXPECT_EQ(std::system((tool + " consent | grep -q 'readable, read-only'").c_str()), 0);
        fs::permissions(profile.company(), fs::perms(0700));
    });
}

TEST(ostrelctl_on_posix, watch_forwards_an_interrupt_and_waits_for_the_command) {
    const profile_t profile;
    const finished_t shown = run_program(
        {OSTRELCTL, "watch", "--", "sh", "-c",
         "trap 'echo stopping; exit 3' INT; kill -INT $PPID; for i in $(seq 1000); do sleep 0.01; done"});
    EXPECT_EQ(shown.status, 3);
    EXPECT_EQ(shown.errors.find("stopping\nostrelctl: 0 hits"), 0U) << shown.errors;
    EXPECT_EQ(run_program({OSTRELCTL, "watch", "--", "sh", "-c", "kill -TERM $$"}).status, 128 + SIGTERM);
    EXPECT_EQ(run_program({OSTRELCTL, "watch", "--", "/"}).status, 126);
}
